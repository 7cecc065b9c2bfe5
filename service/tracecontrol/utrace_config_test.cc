#include "service/tracecontrol/utrace_config.h"

#include <gtest/gtest.h>

#include "service/tracecontrol/log_test_fixture.h"
#include "service/tracecontrol/utrace_controller.h"

namespace kvn {
namespace {

class UTraceConfigTest : public kvn::testing::LogTestFixture {};

TEST_F(UTraceConfigTest, PositionByNameAndItsError) {
  addAgent(3, Agent{{}, {{"p.1", 7, true}, {"p.2", 8, false}}});
  UTraceConfig& config = *DaxoTraceModel::get(3).uniqueTraceManager.config;
  EXPECT_EQ(config.positionByName("p.2"), 1u);
  try {
    config.positionByName("p");
    FAIL();
  } catch (const std::runtime_error& e) {
    EXPECT_STREQ(e.what(), "Tracepoint with name p does not exist for DAXO 3");
  }
}

TEST(UTraceControllerStatusTest, NineSuffixesALineUnderOnePrefix) {
  std::vector<UtracePoint> points;
  for (int i = 10; i >= 0; --i)
    points.push_back({"pre." + std::string(1, static_cast<char>('a' + i)), 0, true, false});
  points.push_back({"nodot", 0, true, false});
  points.push_back({"off.x", 0, false, false});
  const std::string pad38(38, ' ');
  EXPECT_EQ(UTraceController::statusList(points),
            "\n" + std::string("nodot") + std::string(33, ' ') + "     " + "\npre" +
                std::string(35, ' ') + "a    b    c    d    e    f    g    h    i    \n" + pad38 +
                "j    k    \n");
}

}  // namespace
}  // namespace kvn
