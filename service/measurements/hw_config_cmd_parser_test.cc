#include "service/measurements/hw_config_cmd_parser.h"

#include <gtest/gtest.h>

#include "service/measurements/measurement_test_fixture.h"

namespace kvn::testing {
namespace {

constexpr uint16_t kSetReq = 0, kSetCfm = 1;

class HwConfigCmdParserTest : public MeasurementTestFixture {
 protected:
  HwConfigCmdParser parser;
};

TEST_F(HwConfigCmdParserTest, ValuesInAnyBaseReachTheAgentAndBadOnesNever) {
  addMeasuredAgent(1);
  for (const auto& [text, value] : std::vector<std::pair<std::string, uint32_t>>{
           {"0xffff0000", 0xFFFF0000u}, {"5", 5}, {"05", 5}, {"010", 8}, {"4294967295", ~0u}}) {
    command(parser, {"set", "espmask", text});
    const FakePxm::Sent req = expectRequest(1);
    EXPECT_EQ(req.size, 18u);
    EXPECT_EQ(req.submsgno, kSetReq);
    EXPECT_EQ(req.be16(12), 3);
    EXPECT_EQ(req.be32(14), value) << text;
  }
  EXPECT_EQ(command(parser, {"set", "dqsmask"}).text, "Invalid value argument ''\n");
  EXPECT_EQ(command(parser, {"set", "dqsmask", "0x1g"}).text, "Invalid value argument '0x1g'\n");
  EXPECT_EQ(command(parser, {"set", "dqsmask", "4294967296"}).text,
            "Invalid value argument '4294967296'\n");
  EXPECT_EQ(command(parser, {"set", "dqsmask", "-1"}).result, 1);
  EXPECT_EQ(command(parser, {"set", "nomask", "1"}).text, "Error - Illegal option nomask\n\n");
  EXPECT_EQ(command(parser, {"put", "dqsmask", "1"}).text, "Error - Illegal command put\n");
  EXPECT_EQ(command(parser, {"get"}).text, "Error - Missing parameter\n");
  EXPECT_EQ(pxm.queued(agentMailbox[1]), 0u);
  addAgent(2, Agent{});
  EXPECT_EQ(command(parser, {"-s", "2", "get", "dqsmask"}).text,
            "HW config not deployed on any daxo\n");
}

TEST_F(HwConfigCmdParserTest, GetTellsWhatTheAgentsConfirmed) {
  addMeasuredAgent(1);
  addMeasuredAgent(2);
  EXPECT_EQ(command(parser, {"get", "dqsmask"}).text,
            "The register value on daxo 1 is 0xffffffff\nThe register value on daxo 2 is "
            "0xffffffff\n");
  EXPECT_EQ(command(parser, {"-s", "2", "get", "rpsmask"}).text,
            "The register value on daxo 2 is 0x00000000\n");

  command(parser, {"set", "dqsmask", "0xabc"});
  const FakePxm::Sent one = expectRequest(1);
  expectRequest(2);
  // Nothing is remembered before the agent confirms.
  EXPECT_EQ(DaxoTraceModel::get(1).rttManager.registers[0], 0xFFFFFFFFu);
  reply(1, one, kSetCfm);
  lose(2);
  EXPECT_EQ(ended(), "1: Register set on daxo 1\nFail: Register not set on daxo 2\n");
  EXPECT_EQ(DaxoTraceModel::get(2).rttManager.registers[0], 0xFFFFFFFFu);
  EXPECT_EQ(command(parser, {"get", "dqsmask"}).text,
            "The register value on daxo 1 is 0x00000abc\n");
}

}  // namespace
}  // namespace kvn::testing
