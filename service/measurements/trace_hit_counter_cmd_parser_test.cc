#include "service/measurements/trace_hit_counter_cmd_parser.h"

#include <gtest/gtest.h>

#include "service/measurements/measurement_test_fixture.h"

namespace kvn::testing {
namespace {

constexpr uint16_t kClearReq = 4, kClearCfm = 5;

class TraceHitCounterCmdParserTest : public MeasurementTestFixture {
 protected:
  TraceHitCounterCmdParser parser;
};

TEST_F(TraceHitCounterCmdParserTest, WordsAndAgentsAreCheckedBeforeAnythingIsSent) {
  addMeasuredAgent(1);
  addAgent(3, Agent{});
  EXPECT_EQ(command(parser, {"read"}).text, "Error - Wrong parameter count\n");
  // The agents are looked at before the command word.
  EXPECT_EQ(command(parser, {"frob", "3"}).text, "Trace hit counter not deployed on any daxo\n");
  command(parser, {"frob", "*"});
  EXPECT_EQ(ended(), "1: Error - Illegal command frob\n");
  EXPECT_EQ(pxm.queued(agentMailbox[1]), 0u);
}

TEST_F(TraceHitCounterCmdParserTest, ClearWaitsForEveryAgentAndRefusesAgentsInUse) {
  addMeasuredAgent(1);
  addMeasuredAgent(2);
  // A read holds agent 1: nothing is cleared on either agent.
  command(parser, {"read", "1"});
  expectRequest(1);  // its info request stays unanswered
  command(parser, {"clear", "*"});
  EXPECT_EQ(ended(), "1: Trace hit counter is already in use on daxo 1\n");
  EXPECT_TRUE(DaxoTraceModel::get(1).traceHitCounter.inUse);
  EXPECT_FALSE(DaxoTraceModel::get(2).traceHitCounter.inUse);
  EXPECT_EQ(pxm.queued(agentMailbox[2]), 0u);
  DaxoTraceModel::get(1).traceHitCounter.inUse = false;

  command(parser, {"clear", "*"});
  const FakePxm::Sent clear = expectRequest(1);
  EXPECT_EQ(clear.submsgno, kClearReq);
  reply(1, clear, kClearCfm);
  lose(2);
  EXPECT_EQ(ended(),
            "1: Trace hit counter cleared on daxo 1\n"
            "Could not clear trace hit counter due to loss of daxo 2\n");
  EXPECT_FALSE(DaxoTraceModel::get(1).traceHitCounter.inUse);
}

}  // namespace
}  // namespace kvn::testing
