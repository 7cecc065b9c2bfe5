// `zoth recorder`: every answer of the parser, and start, stop and status through their
// sessions.

#include "service/datapath/recorder_cmd_parser.h"

#include <gtest/gtest.h>

#include "service/agents/daxo_match_error.h"
#include "service/datapath/recorder_dump_cmd_session.h"
#include "service/datapath/recorder_status_cmd_session.h"
#include "service/datapath/recorder_test_fixture.h"
#include "service/datapath/super_trace_buffer_index.h"

namespace kvn {
namespace {

class RecorderCmdTest : public kvn::testing::RecorderTestFixture {
 protected:
  std::pair<std::string, int> answerOf(const std::vector<std::string>& args) {
    cmd(args);
    return {text(), result};
  }
  std::pair<std::string, int> failure(const std::string& lines) {
    return {lines + parser.usage() + "\n", 1};
  }
};

TEST_F(RecorderCmdTest, TheParserAnswersEveryMistakeWithTheUsage) {
  connectDaxo(1);
  connectDaxo(2, false);
  const std::string usage = parser.usage();
  EXPECT_EQ(answerOf({"status", "1", "-h"}), std::make_pair(usage + "\n", 1));
  EXPECT_EQ(answerOf({"status"}), failure("Invalid expression\n"));
  EXPECT_EQ(answerOf({"status", "1", "2"}), failure("Invalid expression\n"));
  EXPECT_EQ(answerOf({"status", "1", "--bogus"}), failure("Unknown option --bogus\n"));
  EXPECT_EQ(answerOf({"dump", "1"}), failure("Missing separator in argument\n"));
  EXPECT_EQ(answerOf({"dump", "1:frob"}), failure("Invalid source\n"));
  // The time errors' own texts: RecorderTimeTest.
  EXPECT_EQ(answerOf({"dump", "1:lpp", "-d", "42"}), failure("Missing duration unit\n"));
  EXPECT_EQ(answerOf({"dump", "1:lpp", "-t", "2016"}).second, 1);
  EXPECT_EQ(answerOf({"start", "*"}).first.substr(0, 37), "SuperTrace not deployed on all daxos\n");
  EXPECT_EQ(answerOf({"frob", "1"}), failure("Expression frob is not valid\n"));
  // Agent expressions are matched first, and their errors go to the session factory.
  EXPECT_THROW(parser.parse({"frob", "9"}), DaxoMatchError);
  EXPECT_THROW(parser.parse({"dump", "*:lpp"}), DaxoMatchError);
  // `dump` does not look for SuperTrace.
  EXPECT_TRUE(std::dynamic_pointer_cast<RecorderDumpCmdSession>(parser.parse({"dump", "2:rtt"})));
  EXPECT_EQ(RecorderCmdParser::sourceKeys().at("lpptrace"), std::vector<uint16_t>{4});
}

TEST_F(RecorderCmdTest, StartStopAndStatusOfARecording) {
  connectDaxo(2);
  DaxoRecord& r2 = DaxoTraceModel::get(2);
  r2.links[2][4].attached = r2.links[3][4].attached = false;
  connectDaxo(1);
  EXPECT_EQ(answerOf({"start", "*"}),
            std::make_pair(std::string("No valid route for daxo 2.\n"), 1));
  r2.links[3][4].attached = true;
  r2.links[4][6].attached = true;  // its buffer streams to a destination
  EXPECT_EQ(answerOf({"start", "*"}),
            std::make_pair(std::string("Can not decide whether to start a stream or a recording "
                                       "for daxos.\nAssure that all daxos are either configured "
                                       "for streaming or not.\n"),
                           1));
  // The start's and stop's texts and requests: SuperTraceTest and e2e RecorderCommandTest.
  cmd({"start", "1"});
  answer(requests().at(0), 7, {});
  EXPECT_EQ(requests().at(0).be16(12), 0x001E);  // producers of rtt and lpp

  // The status of a running recording: one lpp block of 2048 words and two DMA interrupts in
  // 1 ms (counted as one in the DMA size), with 3 errors.
  cmd({"status", "1"});
  kvnSuperBlockHeaderS lpp = block(4, 1, 2048);
  lpp.errors = 3;
  answer(requests().at(0), 11, indexBody({lpp}));
  const std::string row1 =
      "             2.0                2.0         4000.0        4000.0           4.000  "
      "2023-11-14 22:13:20.000000          0.00           0          3";
  const std::string empty =
      "             0.0                0.0            0.0           0.0           0.000  "
      "1970-01-01 00:00:00.000000          0.00           0          0";
  EXPECT_EQ(text(),
            "\n              Average DMA        Peak DMA           Average trace  Peak trace    "
            "Average                                     Data          Data        Total num\n"
            "  Agent       interrupts [#/ms]  interrupts [#/ms]  load [KiB/s]   load [KiB/s]  "
            "DMA size [KiB]  Data start time [UTC]       duration [s]  size [MiB]  errors\n" +
                std::string(160, '-') + "\n bbEqm000001   " + row1 + "\n   lpp         " + row1 +
                "\n   rtt         " + empty + "\n   token       " + empty +
                "\nNote: Agent bbEqm000001 is currently recording.\n");
  EXPECT_EQ(result, 0);
}

TEST_F(RecorderCmdTest, TheStreamingNoteAndAFailedStatus) {
  const SuperTraceBufferIndex none(kvnSuperTraceBufferIndexS{4096, 0}, nullptr);
  const std::string table = RecorderStatusCmdSession::table(3, none, true, true);
  EXPECT_NE(table.find("\nNote: Agent bbEqm000003 is currently recording.\nNote: Agent "
                       "bbEqm000003 is currently in streaming mode. The printed data above is "
                       "quite irrelevant.\n"),
            std::string::npos);
  connectDaxo(1);
  cmd({"status", "1"});
  pxm.kill(daxo);
  run();
  EXPECT_EQ(std::make_pair(text(), result),
            std::make_pair(std::string("Action failed due to loss of daxo 1.\n"), 1));
}

}  // namespace
}  // namespace kvn
