#include "service/measurements/trace_hit_counter_read_cmd_session.h"

#include <gtest/gtest.h>

#include "service/measurements/measurement_test_fixture.h"
#include "service/measurements/trace_hit_counter_cmd_parser.h"

namespace kvn::testing {
namespace {

constexpr uint16_t kInfoReq = 0, kInfoCfm = 1, kDataReq = 2, kDataCfm = 3;

struct Row {
  uint16_t strid, group;
  uint32_t arg1, arg2, arg3, counter, first, last;
};

class TraceHitCounterReadTest : public MeasurementTestFixture {
 protected:
  void answerInfo(uint16_t n, uint32_t entries, uint32_t droppedHits = 0,
                  uint32_t droppedStrids = 0) {
    const FakePxm::Sent req = expectRequest(n);
    ASSERT_EQ(req.submsgno, kInfoReq);
    std::vector<uint8_t> body;
    for (uint32_t v : {droppedHits, droppedStrids, 0u, entries}) put32(body, v);
    reply(n, req, kInfoCfm, body);
  }
  // Answers the one data request in flight with `count` rows claimed and `rows` carried; gives
  // the index that was asked for.
  int answerData(uint16_t n, uint16_t firstIndex, const std::vector<Row>& rows, int count = -1) {
    const FakePxm::Sent req = expectRequest(n);
    EXPECT_EQ(pxm.queued(agentMailbox[n]), 0u) << "more than one request in flight";
    EXPECT_EQ(req.submsgno, kDataReq);
    std::vector<uint8_t> body;
    put16(body, static_cast<uint16_t>(count < 0 ? rows.size() : count));
    put16(body, firstIndex);
    for (const Row& r : rows) {
      put16(body, r.strid);
      put16(body, r.group);
      for (uint32_t v : {r.arg1, r.arg2, r.arg3, r.counter, r.first, r.last}) put32(body, v);
    }
    reply(n, req, kDataCfm, body);
    return req.be16(12);
  }

  TraceHitCounterCmdParser parser;
};

TEST_F(TraceHitCounterReadTest, ReadsOneAgentAfterTheOtherOnePieceAtATime) {
  // The trace strings of a container: e2e MeasurementCommandsTest.HitCounterTablePrints...
  DaxoRecord& one = addMeasuredAgent(1);
  one.uTraceIndex[2] = 0;
  one.uTracePoints.push_back({"ulScheduler.grant", 2, true, true});
  addMeasuredAgent(2);
  LogCapture logs;
  command(parser, {"read", "*"});
  EXPECT_TRUE(one.traceHitCounter.inUse);
  answerInfo(2, 0);
  answerInfo(1, 4, 7, 9);

  EXPECT_EQ(answerData(1, 0, {{0, 1, 5, 6, 0, 10, 1, 2}, {40000, 99, 0, 0, 0, 1, 3, 4}}), 0);
  // No row while rows remain: the same index again.
  EXPECT_EQ(answerData(1, 2, {}), 2);
  // Promises three rows but carries one: what it carries is taken.
  EXPECT_EQ(answerData(1, 2, {{1, 4, 0xDEAD, 0, 0, 2, 5, 6}}, 3), 2);
  EXPECT_TRUE(
      logs.has(Level::Error, "Trace hit counter data from daxo 1 promises 3 rows but holds 1"));
  // More rows than remain: only the one that remains.
  EXPECT_EQ(answerData(1, 3, {{2, 12, 0, 0, 0, 3, 7, 8}, {2, 12, 0, 0, 0, 99, 9, 9}}), 3);
  EXPECT_FALSE(answer().result);
  // The empty table of agent 2 still takes one request.
  EXPECT_EQ(answerData(2, 0, {}), 0);

  const Answer a = answer();
  EXPECT_EQ(a.result, 0);
  const size_t two = a.text.find("snid = 2\n");
  ASSERT_NE(two, std::string::npos) << a.text;
  const std::string first = a.text.substr(0, two);
  EXPECT_EQ(first.rfind("snid = 1\nTrace hit counter table:\n", 0), 0u) << first;
  EXPECT_NE(first.find("=======\n\n"
                       "0       10         1           2           5           6           0    "
                       "       TRACEGRP_ERROR         Invalid strid: 0\n"
                       "-25536  1          3           4           0           0           0    "
                       "       UNKNOWN_GROUP          Invalid strid: 40000\n"
                       "1       2          5           6           57005       0           0    "
                       "       TRACEGRP_INFO          Invalid strid: 1\n"
                       "2       3          7           8           0           0           0    "
                       "       ulScheduler.grant      Invalid strid: 2\n"
                       "\n\nWarning: Since start 7 trace hits have been dropped due to buffer "
                       "overflow in small buffer\n"
                       "\n\nWarning: Since start 9 unique strid counter instances have been "
                       "dropped. The reason is that the trace hit counter table is full\n"),
            std::string::npos)
      << first;
  EXPECT_EQ(a.text.substr(two).find("Warning"), std::string::npos);
  EXPECT_EQ(a.text.substr(a.text.size() - 9), "=======\n\n");
  EXPECT_FALSE(one.traceHitCounter.inUse);
}

TEST_F(TraceHitCounterReadTest, LossEndsTheCommandWithWhatWasCollected) {
  addMeasuredAgent(1);
  addMeasuredAgent(2);
  // In the info phase: the others are still awaited, and no table is read.
  command(parser, {"read", "*"});
  lose(2);
  EXPECT_FALSE(answer().result);
  answerInfo(1, 1);
  EXPECT_EQ(ended(), "1: Could not get trace hit counter info due to loss of daxo 2\n");
  EXPECT_EQ(pxm.queued(agentMailbox[1]), 0u);
  EXPECT_FALSE(DaxoTraceModel::get(1).traceHitCounter.inUse);

  // In the data phase, for an agent whose table is not being read: at once.
  addMeasuredAgent(2);
  command(parser, {"read", "*"});
  answerInfo(1, 1);
  answerInfo(2, 1);
  expectRequest(1);
  lose(2);
  EXPECT_EQ(ended(), "1: Lost daxo 2 while retrieving trace hit table\n");
  EXPECT_FALSE(DaxoTraceModel::get(1).traceHitCounter.inUse);
}

}  // namespace
}  // namespace kvn::testing
