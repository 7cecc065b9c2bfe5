// zomlek dspload and cmpoolusage against the real service and a simulated agent.
#include <gtest/gtest.h>

#include <cstdlib>

#include <fstream>
#include <string>

#include "tests/e2e/test_system.h"

namespace kvn::e2e {
namespace {

const char* const kMeasurementRoutine = R"({"routineId": 31, "implements": "measurements"})";
const char* const kFigures = R"("measurements": {
  "dsps": [{"min": 10, "max": 90, "average": 50, "histogram": [1, 2, 3, 4, 5], "pooled": 0},
           {"min": 1, "max": 9, "average": 5, "histogram": [6, 0, 0, 0, 0], "pooled": 1}],
  "cmPool": {"allocatedWords": 1200, "totalWords": 65536,
             "blocks": [{"blockSizeInWords": 8, "totalNumberOfBlocks": 100,
                         "allocatedNumberOfBlocks": 12, "maximumAllocatedNumberOfBlocks": 20},
                        {"blockSizeInWords": 32, "totalNumberOfBlocks": 50,
                         "allocatedNumberOfBlocks": 5, "maximumAllocatedNumberOfBlocks": 9}]}})";

TEST(MeasurementCommandTest, DspLoadMeasurementEndsByItselfThenPrintsItsTables) {
  RunDir dir;
  TestSystem system(dir);
  ASSERT_TRUE(system.ok()) << system.error();
  system.describeAgent(1, kMeasurementRoutine, kFigures);
  ASSERT_TRUE(system.startAgent(1)) << system.agent(1).err();
  std::string out;
  ASSERT_EQ(system.shell({"zomlek", "dspload", "start", "-s", "1", "-d", "1"}, out), 0) << out;
  EXPECT_EQ(out, "Measuring started on daxo 1\n");
  // The agent tells the service when its second is over; until the service has heard it, a
  // print is refused.
  ASSERT_TRUE(eventually([&] { return !system.journalLines(1, "dspload_ended").empty(); }));
  ASSERT_TRUE(eventually([&] {
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
}

TEST(MeasurementCommandTest, CmPoolUsageJsonIsValidJson) {
  RunDir dir;
  TestSystem system(dir);
  ASSERT_TRUE(system.ok()) << system.error();
  system.describeAgent(1, kMeasurementRoutine, kFigures);
  ASSERT_TRUE(system.startAgent(1)) << system.agent(1).err();
  std::string out;
  ASSERT_EQ(system.shell({"zomlek", "cmpoolusage", "--json", "-s", "1"}, out), 0) << out;
  EXPECT_EQ(out.rfind("{\"daxoId\" : 1,\"allocatedCmPoolSizeInWord\" : 1200,", 0), 0u) << out;
  std::ofstream(dir.file("pool.json")) << out;
  const std::string check = "python3 -m json.tool " + dir.file("pool.json") + " > /dev/null";
  EXPECT_EQ(std::system(check.c_str()), 0) << out;
  EXPECT_EQ(system.journalLines(1, "KVN_CMPOOL_USAGE_REQ").size(), 1u);
}

}  // namespace
}  // namespace kvn::e2e
