#include "service/tracecontrol/log_toggle_cmd_session.h"

#include <gtest/gtest.h>

#include "service/tracecontrol/log_test_fixture.h"

namespace kvn {
namespace {

// One entry per object, answers "ok, although", an already disabled profile and one batch in
// flight per agent are checked against the real agent in e2e LogCommandTest.
class LogToggleCmdSessionTest : public kvn::testing::LogTestFixture {
 protected:
  LogToggleCmdSessionTest() {
    Agent a{{"obj", "other", "a"}, {{"utp.1", 5, false}, {"utp.2", 6, true}}};
    a.profiles["Extra"] = {"*;*;obj.trace1", "*;*;nothing.here"};
    addAgent(1, a);
    a.objects = {"other"};
    addAgent(2, a);
    settle(1);
    settle(2);
  }
  Answer toggle(std::vector<uint16_t> agents, std::vector<std::string> names, bool enable,
                bool verbose = false) {
    return command(std::make_shared<LogToggleCmdSession>(agents, names, enable, verbose));
  }
};

// A name unknown everywhere: e2e LogCommandTest.EnablingGroupsOfOneObjectSendsOneEntryToEachAgent.
TEST_F(LogToggleCmdSessionTest, MixedNamesApplyNothing) {
  toggle({1}, {"obj.info", "obj.nosuch"}, false);  // one bad name spoils the lot on that agent
  EXPECT_EQ(ended(), "1: error\nThe following traces/profiles are invalid:\nobj.nosuch\n");
  EXPECT_EQ(mask(1, "obj"), kDefault);
  EXPECT_TRUE(takeRequests(1).empty());
}

TEST_F(LogToggleCmdSessionTest, EnablingAProfileSendsEveryMaskAndVerboseTellsWhatMatchesNothing) {
  // What is sent: TraceObjectControllerTest.ReapplyAllSendsEveryMaskAndTheWholeUtraceSetting...
  toggle({1}, {"Extra"}, true, true);
  EXPECT_EQ(confirmAll(1).size(), 2u);
  EXPECT_EQ(mask(1, "obj"), kDefault | 1u << 5);
  EXPECT_EQ(answer().text, "ok, although\nnothing.here is not applicable on daxo 1\n");

  toggle({1}, {"Extra"}, true);  // enabled already: sent again all the same
  EXPECT_EQ(confirmAll(1).size(), 2u);
  EXPECT_EQ(ended(), "0: ok\n");
  toggle({1}, {"Extra"}, false);
  confirmAll(1);
  EXPECT_EQ(ended(), "0: ok\n");
  EXPECT_EQ(mask(1, "obj"), kDefault);
}

TEST_F(LogToggleCmdSessionTest, UtracePointsAreSwitchedRelativeToTheirDefault) {
  toggle({1}, {"utp.1", "utp.2"}, true);
  auto requests = confirmAll(1);
  ASSERT_EQ(requests.size(), 1u);
  ASSERT_EQ(requests[0].utrace.size(), 1u) << "utp.2 is on already";
  EXPECT_EQ(requests[0].utrace[0].id, 5);
  EXPECT_TRUE(requests[0].utrace[0].differsFromDefault);
  EXPECT_EQ(ended(), "0: ok\n");

  toggle({1}, {"utp.1"}, true);
  EXPECT_TRUE(takeRequests(1).empty());
  EXPECT_EQ(ended(), "0: ok\n");

  toggle({1}, {"utp.2"}, false);
  requests = confirmAll(1);
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_TRUE(requests[0].utrace[0].differsFromDefault);  // off, on by default
  EXPECT_TRUE(DaxoTraceModel::get(1).traceToggler->overrides().utrace(1).changed);
}

TEST_F(LogToggleCmdSessionTest, OnlyALossWhileTheConfirmIsHeldFailsTheCommand) {
  toggle({1, 2}, {"other.trace1"}, true);
  confirmAll(2);
  lose(2);  // answered already: costs nothing
  EXPECT_EQ(ended(), "running: ");
  confirmAll(1);
  EXPECT_EQ(ended(), "0: ok\n");

  toggle({1}, {"obj.trace1"}, true);
  EXPECT_EQ(takeRequests(1).size(), 1u);
  lose(1);
  EXPECT_EQ(ended(), "1: error\nFail: Mask not set on daxo 1\n");
  EXPECT_EQ(pxm.leakedMessages(), 0u);
}

}  // namespace
}  // namespace kvn
