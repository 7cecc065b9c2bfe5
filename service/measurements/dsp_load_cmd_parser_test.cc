#include "service/measurements/dsp_load_cmd_parser.h"

#include <gtest/gtest.h>

#include "service/agents/daxo_match_error.h"
#include "service/measurements/cm_pool_usage_cmd_parser.h"
#include "service/measurements/dsp_load_controller.h"
#include "service/measurements/measurement_test_fixture.h"

namespace kvn::testing {
namespace {

class DspLoadCmdParserTest : public testing::MeasurementTestFixture {
 protected:
  DspLoadCmdParserTest() {
    table.allocate(std::make_shared<DspLoadController>(), DspLoadController::kRoutineId);
  }

  // One DSP entry on the wire: loads, histogram, pooled.
  static void putEntry(std::vector<uint8_t>& b, uint16_t load, uint16_t pooled) {
    for (int v : {load - 1, load + 1, +load}) put16(b, static_cast<uint16_t>(v));
    for (uint32_t c = 1; c <= 5; ++c) put32(b, c);
    put16(b, pooled);
  }
  // The agent says its measurement has run its time, from routine `src`.
  void measurementEnded(pxm_mbox_id_t from, uint16_t src, uint16_t submsgno = 6) {
    pxm.injectObs(from, DspLoadController::kRoutineId, src, submsgno);
    run();
  }

  DspLoadCmdParser parser;
};

TEST_F(DspLoadCmdParserTest, WordsDurationAndDeploymentAreCheckedBeforeAnyAgentIsAsked) {
  addMeasuringAgent(1);
  addAgent(2, Agent{});
  EXPECT_EQ(command(parser, {"stop", "-s", "1", "-d", "0"}).text,
            "Duration (0) is out of range (1-3600)\n");
  EXPECT_EQ(command(parser, {"start", "-s", "1", "-d", "3601"}).text,
            "Duration (3601) is out of range (1-3600)\n");
  EXPECT_EQ(command(parser, {"-s", "1"}).text, "Error - Missing parameter\n\n");
  EXPECT_EQ(command(parser, {"frob", "-s", "1"}).text, "Error - Illegal command frob\n\n");
  EXPECT_EQ(command(parser, {"print", "-s", "2"}).text, "Dspload not deployed on daxo 2\n\n");
  EXPECT_EQ(command(parser, {"--help"}).result, 1);
  EXPECT_THROW(parser.parse({"print"}), DaxoMatchError) << "no -s names no agent";
  EXPECT_EQ(pxm.queued(agentMailbox[1]), 0u) << "nothing reached the agent";
}

TEST_F(DspLoadCmdParserTest, MeasuringFlagFollowsStartStopAndTheAgentsEndOfMeasurement) {
  const DaxoRecord& r = addMeasuringAgent(1);
  EXPECT_EQ(command(parser, {"stop", "-s", "1"}).text, "Not measuring on daxo 1\n");

  const Answer started = command(parser, {"start", "-s", "DAXO1", "-d", "2"});
  EXPECT_TRUE(r.dspLoad.measuring) << "set as the request goes out";
  EXPECT_FALSE(started.result);
  const auto start = expectRequest(1);
  EXPECT_EQ(start.dstRoutineId, kMeasurementRoutine);
  EXPECT_EQ(start.submsgno, 0);
  EXPECT_EQ(start.be32(12), 2000000u);
  reply(1, start, 1);
  EXPECT_EQ(ended(), "0: Measuring started on daxo 1\n");

  EXPECT_EQ(command(parser, {"start", "-s", "1"}).text, "Already measuring on daxo 1\n");
  command(parser, {"print", "-s", "1"});
  EXPECT_EQ(ended(), "1: Already measuring on daxo 1\n");
  EXPECT_EQ(pxm.queued(agentMailbox[1]), 0u) << "a refused command asks nothing";

  // Only the agent's own DSP load routine ends its measurement, and only with sub-message 6.
  measurementEnded(pxm.createPeer("stranger"), kMeasurementRoutine);
  measurementEnded(agentMailbox[1], kMeasurementRoutine + 1);
  measurementEnded(agentMailbox[1], kMeasurementRoutine, 7);
  EXPECT_TRUE(r.dspLoad.measuring);
  measurementEnded(agentMailbox[1], kMeasurementRoutine);
  EXPECT_FALSE(r.dspLoad.measuring);

  command(parser, {"start", "-s", "1"});
  EXPECT_EQ(expectRequest(1).be32(12), 3600000000u) << "the default duration";
  command(parser, {"stop", "-s", "1"});
  EXPECT_FALSE(r.dspLoad.measuring) << "cleared as the request goes out";
  const auto stop = expectRequest(1);
  EXPECT_EQ(stop.submsgno, 2);
  EXPECT_EQ(stop.size, 12u);
  EXPECT_EQ(reply(1, stop, 3).text, "Measuring stopped on daxo 1\n");
}

TEST_F(DspLoadCmdParserTest, PrintTakesOnlyTheEntriesTheConfirmHolds) {
  addMeasuringAgent(1);
  command(parser, {"snapshot", "-s", "1"});
  auto req = expectRequest(1);
  EXPECT_EQ(req.submsgno, 4);
  EXPECT_EQ(req.u8(12), 1) << "snapshot";
  // No DSPs: the message still has the room of one entry.
  std::vector<uint8_t> body(34, 0);
  EXPECT_EQ(reply(1, req, 5, body).text,
            "\nSummary:\nMeasured length           : 0 ms\nNumber of DSPs used       : 0\n\n");

  command(parser, {"print", "-s", "1"});
  req = expectRequest(1);
  EXPECT_EQ(req.u8(12), 0);
  body.clear();
  put16(body, 3);  // promises three, holds two
  put32(body, 5000);
  putEntry(body, 30, 0);
  putEntry(body, 60, 1);
  const Answer done = reply(1, req, 5, body);
  EXPECT_EQ(done.result, 0);
  EXPECT_NE(done.text.find("Measured length           : 5 ms\nNumber of DSPs used       : 2\n"),
            std::string::npos)
      << done.text;
  EXPECT_NE(done.text.find("Pool         0-20%"), std::string::npos) << done.text;
}

// The CM pool usage command shares the measurement routine; its loss is told in words also
// for --json.
TEST_F(DspLoadCmdParserTest, TheLossOfTheAgentEndsEachCommandWithItsText) {
  CmPoolUsageCmdParser cmPool;
  const struct {
    CmdParser& parser;
    std::vector<std::string> words;
    const char* text;
  } cases[] = {
      {parser, {"start", "-s", "1"}, "Could not start dsp load due to loss of daxo 1\n"},
      {parser, {"stop", "-s", "2"}, "Could not stop dsp load correctly due to loss of daxo 2\n"},
      {parser, {"print", "-s", "3"}, "Could not get dsp load information due to loss of daxo 3\n"},
      {cmPool,
       {"-j", "-s", "4"},
       "Could not get Cm memory usage information due to loss of daxo 4\n"}};
  uint16_t n = 0;
  for (const auto& c : cases) {
    ++n;
    addMeasuringAgent(n).dspLoad.measuring = n == 2;
    command(c.parser, c.words);
    lose(n);
    EXPECT_EQ(ended(), std::string("1: ") + c.text);
  }
  EXPECT_TRUE(DaxoTraceModel::get(1).dspLoad.measuring)
      << "a lost agent keeps its flag until it connects again";
}

}  // namespace
}  // namespace kvn::testing
