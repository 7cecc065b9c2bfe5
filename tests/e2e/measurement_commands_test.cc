// The measurement commands against the real system: a simulated agent with a trace hit counter
// table, a register manager, the DSP load and CM pool function and a trace object manager, and
// kvnsh for each command.
#include <gtest/gtest.h>

#include <cstdlib>

#include <fstream>
#include <string>

#include "tests/e2e/test_system.h"

namespace kvn::e2e {
namespace {

class MeasurementCommandsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(system_.ok()) << system_.error();
    system_.describeAgent(1,
                          R"({"routineId": 30, "implements": "rttManager"},
           {"routineId": 31, "implements": "measurements"},
           {"routineId": 32, "implements": "traceHitCounter"})",
                          R"("traceHitCounter": {"rowsPerConfirm": 2, "droppedStrids": 1, "rows": [
             {"strid": 0, "group": 4, "counter": 1, "firstHit": 5, "lastHit": 5},
             {"strid": 1, "group": 7, "args": [3, 25], "counter": 12, "firstHit": 10,
              "lastHit": 900},
             {"strid": 2, "group": 10, "args": [4096], "counter": 2, "firstHit": 20,
              "lastHit": 30}]},
           "measurements": {
  "dsps": [{"min": 10, "max": 90, "average": 50, "histogram": [1, 2, 3, 4, 5], "pooled": 0},
           {"min": 1, "max": 9, "average": 5, "histogram": [6, 0, 0, 0, 0], "pooled": 1}],
  "cmPool": {"allocatedWords": 1200, "totalWords": 65536,
             "blocks": [{"blockSizeInWords": 8, "totalNumberOfBlocks": 100,
                         "allocatedNumberOfBlocks": 12, "maximumAllocatedNumberOfBlocks": 20},
                        {"blockSizeInWords": 32, "totalNumberOfBlocks": 50,
                         "allocatedNumberOfBlocks": 5, "maximumAllocatedNumberOfBlocks": 9}]}})");
    ASSERT_TRUE(system_.startAgent(1)) << system_.agent(1).err();
  }

  RunDir dir_;
  TestSystem system_{dir_};
  std::string out_;
};

TEST_F(MeasurementCommandsTest, HitCounterTablePrintsWithTheContainersTraceStrings) {
  ASSERT_EQ(system_.shell({"zoth", "tracehitcounter", "read", "1"}, out_), 0) << out_;
  EXPECT_EQ(out_.rfind("snid = 1\nTrace hit counter table:\n", 0), 0u) << out_;
  // Strids 1 and 2 are utrace points: they are named in the group column.
  EXPECT_NE(out_.find("=======\n\n"
                      "0       1          5           5           0           0           0    "
                      "       TRACEGRP_INFO          boot done\n"
                      "1       12         10          900         3           25          0    "
                      "       ulScheduler.grant      grant for ue 3: 25 prbs\n"
                      "2       2          20          30          4096        0           0    "
                      "       ulScheduler.alloc      alloc of 4096 bytes\n"
                      "\n\nWarning: Since start 1 unique strid counter instances have been "
                      "dropped."),
            std::string::npos)
      << out_;
  // Three rows, two a confirm: two pieces.
  EXPECT_EQ(system_.journalLines(1, "KVN_TRACE_HIT_COUNTER_DATA_REQ").size(), 2u);

  ASSERT_EQ(system_.shell({"zoth", "tracehitcounter", "clear", "DAXO1"}, out_), 0) << out_;
  EXPECT_EQ(out_, "Trace hit counter cleared on daxo 1\n");
}

TEST_F(MeasurementCommandsTest, HwConfigRemembersWhatTheAgentConfirmed) {
  ASSERT_EQ(system_.shell({"zoth", "hwconfig", "get", "dqsmask"}, out_), 0) << out_;
  EXPECT_EQ(out_, "The register value on daxo 1 is 0xffffffff\n");
  ASSERT_EQ(system_.shell({"zoth", "hwconfig", "set", "dqsmask", "0x0"}, out_), 0) << out_;
  EXPECT_EQ(out_, "Register set on daxo 1\n");
  const auto set = system_.journalLines(1, "KVN_RTT_SET_REGISTER_REQ");
  ASSERT_EQ(set.size(), 1u);
  EXPECT_NE(set[0].find("\"registerId\":0"), std::string::npos) << set[0];
  EXPECT_NE(set[0].find("\"value\":0"), std::string::npos) << set[0];
  ASSERT_EQ(system_.shell({"zoth", "hwconfig", "get", "dqsmask"}, out_), 0) << out_;
  EXPECT_EQ(out_, "The register value on daxo 1 is 0x00000000\n");
}

TEST_F(MeasurementCommandsTest, EchoReachesTheAgentsTraceStream) {
  ASSERT_EQ(system_.shell({"zoth", "echo", "odd marker!"}, out_), 0) << out_;
  EXPECT_EQ(out_, "");
  EXPECT_TRUE(
      eventually([&] { return !system_.journalLines(1, R"("text":"odd marker!")").empty(); }));
}

TEST_F(MeasurementCommandsTest, DspLoadMeasurementEndsByItselfThenPrintsItsTables) {
  ASSERT_EQ(system_.shell({"zomlek", "dspload", "start", "-s", "1", "-d", "1"}, out_), 0) << out_;
  EXPECT_EQ(out_, "Measuring started on daxo 1\n");
  // The agent tells the service when its second is over; until the service has heard it, a
  // print is refused.
  ASSERT_TRUE(eventually([&] { return !system_.journalLines(1, "dspload_ended").empty(); }));
  ASSERT_TRUE(eventually([&] {
    return system_.shell({"zomlek", "dspload", "print", "-s", "1"}, out_) == 0;
  })) << out_;
  EXPECT_NE(out_.find("Measured length           : 1000 ms\nNumber of DSPs used       : 2\n"),
            std::string::npos)
      << out_;
  EXPECT_NE(out_.find("statically allocated DSP:\nDSP nr   :   0\nMax %    :  90\n"),
            std::string::npos)
      << out_;
  EXPECT_NE(out_.find("Pool         0-20%       -40%       -60%       -80%       -100%\n"
                      "  1              6          0          0          0          0\n"),
            std::string::npos)
      << out_;
  EXPECT_EQ(system_.journalLines(1, "KVN_DSPLOAD_PRINT_REQ").size(), 1u);
}

TEST_F(MeasurementCommandsTest, CmPoolUsageJsonIsValidJson) {
  ASSERT_EQ(system_.shell({"zomlek", "cmpoolusage", "--json", "-s", "1"}, out_), 0) << out_;
  EXPECT_EQ(out_.rfind("{\"daxoId\" : 1,\"allocatedCmPoolSizeInWord\" : 1200,", 0), 0u) << out_;
  std::ofstream(dir_.file("pool.json")) << out_;
  const std::string check = "python3 -m json.tool " + dir_.file("pool.json") + " > /dev/null";
  EXPECT_EQ(std::system(check.c_str()), 0) << out_;
  EXPECT_EQ(system_.journalLines(1, "KVN_CMPOOL_USAGE_REQ").size(), 1u);
}

}  // namespace
}  // namespace kvn::e2e
