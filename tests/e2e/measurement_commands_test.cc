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

// One agent for all: each command's checks stand on their own.
TEST(MeasurementCommandsTest, EachCommandGetsItsAnswerFromTheAgent) {
  RunDir dir;
  TestSystem system(dir);
  ASSERT_TRUE(system.ok()) << system.error();
  system.describeAgent(1,
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
  ASSERT_TRUE(system.startAgent(1)) << system.agent(1).err();
  std::string out;

  EXPECT_EQ(system.shell({"zoth", "tracehitcounter", "read", "1"}, out), 0) << out;
  EXPECT_EQ(out.rfind("snid = 1\nTrace hit counter table:\n", 0), 0u) << out;
  // Strids 1 and 2 are utrace points: they are named in the group column.
  EXPECT_NE(out.find("=======\n\n"
                     "0       1          5           5           0           0           0    "
                     "       TRACEGRP_INFO          boot done\n"
                     "1       12         10          900         3           25          0    "
                     "       ulScheduler.grant      grant for ue 3: 25 prbs\n"
                     "2       2          20          30          4096        0           0    "
                     "       ulScheduler.alloc      alloc of 4096 bytes\n"
                     "\n\nWarning: Since start 1 unique strid counter instances have been "
                     "dropped."),
            std::string::npos)
      << out;
  // Three rows, two a confirm: two pieces.
  EXPECT_EQ(system.journalLines(1, "KVN_TRACE_HIT_COUNTER_DATA_REQ").size(), 2u);

  EXPECT_EQ(system.shell({"zoth", "tracehitcounter", "clear", "DAXO1"}, out), 0) << out;
  EXPECT_EQ(out, "Trace hit counter cleared on daxo 1\n");

  EXPECT_EQ(system.shell({"zoth", "hwconfig", "get", "dqsmask"}, out), 0) << out;
  EXPECT_EQ(out, "The register value on daxo 1 is 0xffffffff\n");
  EXPECT_EQ(system.shell({"zoth", "hwconfig", "set", "dqsmask", "0x0"}, out), 0) << out;
  EXPECT_EQ(out, "Register set on daxo 1\n");
  const auto set = system.journalLines(1, "KVN_RTT_SET_REGISTER_REQ");
  EXPECT_TRUE(set.size() == 1 && contains(set[0], R"("registerId":0)") &&
              contains(set[0], R"("value":0)"));

  EXPECT_EQ(system.shell({"zoth", "echo", "odd marker!"}, out), 0) << out;
  EXPECT_EQ(out, "");
  EXPECT_TRUE(
      eventually([&] { return !system.journalLines(1, R"("text":"odd marker!")").empty(); }));

  EXPECT_EQ(system.shell({"zomlek", "dspload", "start", "-s", "1", "-d", "1"}, out), 0) << out;
  EXPECT_EQ(out, "Measuring started on daxo 1\n");
  // The agent tells the service when its second is over; until the service has heard it, a
  // print is refused.
  EXPECT_TRUE(eventually([&] { return !system.journalLines(1, "dspload_ended").empty(); }));
  EXPECT_TRUE(eventually([&] {
    return system.shell({"zomlek", "dspload", "print", "-s", "1"}, out) == 0;
  })) << out;
  EXPECT_NE(out.find("Measured length           : 1000 ms\nNumber of DSPs used       : 2\n"),
            std::string::npos)
      << out;
  EXPECT_NE(out.find("statically allocated DSP:\nDSP nr   :   0\nMax %    :  90\n"),
            std::string::npos)
      << out;
  EXPECT_NE(out.find("Pool         0-20%       -40%       -60%       -80%       -100%\n"
                     "  1              6          0          0          0          0\n"),
            std::string::npos)
      << out;
  EXPECT_EQ(system.journalLines(1, "KVN_DSPLOAD_PRINT_REQ").size(), 1u);

  EXPECT_EQ(system.shell({"zomlek", "cmpoolusage", "--json", "-s", "1"}, out), 0) << out;
  EXPECT_EQ(out.rfind("{\"daxoId\" : 1,\"allocatedCmPoolSizeInWord\" : 1200,", 0), 0u) << out;
  std::ofstream(dir.file("pool.json")) << out;
  const std::string check = "python3 -m json.tool " + dir.file("pool.json") + " > /dev/null";
  EXPECT_EQ(std::system(check.c_str()), 0) << out;
  EXPECT_EQ(system.journalLines(1, "KVN_CMPOOL_USAGE_REQ").size(), 1u);
}

}  // namespace
}  // namespace kvn::e2e
