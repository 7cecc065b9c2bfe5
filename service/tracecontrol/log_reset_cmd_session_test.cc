#include "service/tracecontrol/log_reset_cmd_session.h"

#include <gtest/gtest.h>

#include "service/tracecontrol/log_test_fixture.h"

namespace kvn {
namespace {

class LogResetCmdSessionTest : public kvn::testing::LogTestFixture {
 protected:
  LogResetCmdSessionTest() {
    Agent a{{"obj", "other"}, {{"utp.1", 5, false}}};
    a.profiles["Extra"] = {"*;*;other.trace1"};
    DaxoRecord& r = addAgent(1, a);
    r.enabledProfiles.insert("Extra");
    r.traceToggler->overrides().set(0, kCheck | kError, false);
    r.traceToggler->overrides().setUtrace(0, true);
    settle(1);
  }
  void reset(const std::string& name, uint32_t groups) {
    command(std::make_shared<LogResetCmdSession>(std::vector<uint16_t>{1}, name, groups));
  }
};

TEST_F(LogResetCmdSessionTest, WholeAgentResetLeavesOnlyTheDefaultProfileAndSendsNoUtrace) {
  EXPECT_EQ(mask(1, "obj"), kInfo | kInterface);
  reset("", 0);
  auto requests = confirmAll(1);
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_EQ(requests[0].masks.size(), 2u) << "both objects changed";
  EXPECT_EQ(DaxoTraceModel::get(1).enabledProfiles, std::set<std::string>{"DefaultProfile"});
  EXPECT_EQ(mask(1, "obj"), kDefault);
  EXPECT_EQ(mask(1, "other"), kDefault);
  EXPECT_FALSE(DaxoTraceModel::get(1).traceToggler->overrides().utrace(0).changed);
  EXPECT_EQ(ended(), "0: ok\n");
}

TEST_F(LogResetCmdSessionTest, NamedResetForgetsOnlyTheGroupsGivenAndNeedsAnObjectName) {
  reset("obj", kCheck);
  auto requests = confirmAll(1);
  ASSERT_EQ(requests.size(), 1u);
  ASSERT_EQ(requests[0].masks.size(), 1u);
  EXPECT_EQ(requests[0].masks[0].mask, kCheck | kInfo | kInterface);
  EXPECT_EQ(ended(), "0: ok\n");

  reset("obj.info", kCheck);
  EXPECT_EQ(ended(), "1: error\nInvalid trace object name: obj.info\n");
}

TEST_F(LogResetCmdSessionTest, NothingToChangeAnswersAtOnceAndALostAgentFails) {
  reset("other", kCheck);
  EXPECT_TRUE(takeRequests(1).empty());
  EXPECT_EQ(ended(), "0: ok\n");

  reset("", 0);
  EXPECT_EQ(ended(), "running: ");
  lose(1);
  EXPECT_EQ(ended(), "1: error\nFail: Mask not set on daxo 1\n");
}

}  // namespace
}  // namespace kvn
