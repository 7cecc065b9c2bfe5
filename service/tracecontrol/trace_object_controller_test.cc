#include "service/tracecontrol/trace_object_controller.h"

#include <gtest/gtest.h>

#include "service/tracecontrol/log_test_fixture.h"
#include "service/tracecontrol/profile_application.h"
#include "tracetables/trace_group_table.h"

namespace kvn {
namespace {

class TraceObjectControllerTest : public kvn::testing::LogTestFixture {
 protected:
  TraceObjectController& controller(uint16_t n) {
    return *DaxoTraceModel::get(n).traceObjectManager.controller;
  }
  ManualTraceOverrides& overrides(uint16_t n) {
    return DaxoTraceModel::get(n).traceToggler->overrides();
  }
};

TEST_F(TraceObjectControllerTest, ForcedBitsBeatProfilesWhicheverWayTheProfilesGo) {
  DaxoRecord& r =
      addAgent(1, Agent{{"obj"}, {}, {{"DefaultProfile", {"*;*;obj.check", "*;*;obj.error"}}}});
  settle(1);
  EXPECT_EQ(mask(1, "obj"), kCheck | kError);

  overrides(1).set(0, kError, false);
  auto changes = controller(1).getChanges();
  ASSERT_EQ(changes.size(), 1u);
  EXPECT_EQ(changes[0].mask, kCheck);

  r.enabledProfiles.erase("DefaultProfile");
  controller(1).getChanges();
  EXPECT_EQ(mask(1, "obj"), 0u);
  EXPECT_EQ(overrides(1).forcedOff(0), kError);

  r.enabledProfiles.insert("DefaultProfile");
  controller(1).getChanges();
  EXPECT_EQ(mask(1, "obj"), kCheck);
}

TEST_F(TraceObjectControllerTest, UnchangedModelGivesNoChangesAndKeepsTheMasks) {
  addAgent(1, Agent{{"x", "y"}, {}});
  EXPECT_EQ(controller(1).getChanges().size(), 2u);  // from 0 to the default profile's bits
  EXPECT_TRUE(controller(1).getChanges().empty());
  EXPECT_EQ(mask(1, "y"), kDefault);
  // A forced bit that the profile already gives changes nothing either.
  overrides(1).set(1, kInfo, true);
  EXPECT_TRUE(controller(1).getChanges().empty());
}

TEST_F(TraceObjectControllerTest, IncludedProfilesAreFollowedOnceAndFilteredForTheAgent) {
  Agent a;
  a.objects = {"alpha", "beta", "gamma"};
  a.profiles = {{"DefaultProfile", {}},
                {"Self", {"*;*;*", "*;*;alpha.trace1"}},  // names itself and every other one
                {"Other", {"*;*;beta.check", "OTHER*;*;gamma.check", "*;3;gamma.error"}},
                {"Role", {"*;7;gamma.info"}}};
  DaxoRecord& r = addAgent(1, a);
  r.roleIndex = 7;
  const auto expanded = ProfileApplication::expandProfiles(r, {"Self"}, *r.profileProvider);
  EXPECT_EQ(expanded.size(), 4u);  // Self, then DefaultProfile, Other and Role once each

  r.enabledProfiles = {"Self"};
  controller(1).getChanges();
  EXPECT_EQ(mask(1, "alpha"), TraceGroupTable::kAll);  // "*" takes every group
  r.enabledProfiles = {"Other", "Role"};
  controller(1).getChanges();
  EXPECT_EQ(mask(1, "alpha"), 0u);
  EXPECT_EQ(mask(1, "beta"), kCheck);
  EXPECT_EQ(mask(1, "gamma"), kInfo);  // wrong instance and wrong role are left out
}

TEST_F(TraceObjectControllerTest, UnknownEnabledProfileSelectsNothingAndIsLogged) {
  DaxoRecord& r = addAgent(1, Agent{{"obj"}, {}});
  r.enabledProfiles.insert("Gone");
  LogCapture cap;
  controller(1).getChanges();
  EXPECT_EQ(mask(1, "obj"), kDefault);
  EXPECT_TRUE(cap.has(Level::Error, "Invalid profile name Gone"));
}

// A lost agent's batch ends in the command's failure, never in its done: LogToggleCmdSessionTest.
TEST_F(TraceObjectControllerTest, BatchesGoOneAtATimeInOrder) {
  addAgent(1, Agent{{"x"}, {}});
  std::vector<int> done;
  controller(1).setMasks({{0, 1}}, [&] { done.push_back(1); });
  controller(1).setMasks({{0, 2}, {0, 3}}, [&] { done.push_back(2); });
  controller(1).setMasks({}, [&] { done.push_back(3); });
  run();
  EXPECT_EQ(controller(1).pendingBatches(), 3u);

  const std::vector<std::vector<uint32_t>> batches = {{1}, {2, 3}, {}};
  for (size_t i = 0; i < batches.size(); ++i) {
    SCOPED_TRACE(i);
    const auto got = takeRequests(1);
    ASSERT_EQ(got.size(), 1u) << "a batch waits for the confirm of the one before";
    std::vector<uint32_t> masks;
    for (const TraceObjectMask& m : got[0].masks) masks.push_back(m.mask);
    EXPECT_EQ(masks, batches[i]);
    confirm(1, got[0]);
    EXPECT_EQ(done.size(), i + 1);
  }
  EXPECT_EQ(done, (std::vector<int>{1, 2, 3}));
  EXPECT_FALSE(controller(1).busy());
  EXPECT_EQ(pxm.leakedMessages(), 0u);
}

TEST_F(TraceObjectControllerTest, ReapplyAllSendsEveryMaskAndTheWholeUtraceSettingOnce) {
  Agent a{{"x", "y"}, {{"p.on", 7, true}, {"p.off", 8, false}, {"q.hit", 9, false}}};
  a.profiles["Hits"] = {"*;*;q.*", "*;*;y.trace1"};
  DaxoRecord& r = addAgent(1, a);
  r.enabledProfiles.insert("Hits");
  overrides(1).set(0, kCheck, false);
  overrides(1).setUtrace(0, false);
  bool done = false;
  ProfileApplication::reapplyAll(1, [&] { done = true; });
  run();
  auto requests = takeRequests(1);
  ASSERT_EQ(requests.size(), 2u);
  ASSERT_EQ(requests[0].masks.size(), 2u);
  EXPECT_EQ(requests[0].masks[0].mask, kError | kInfo | kInterface);
  EXPECT_EQ(requests[0].masks[1].mask, kDefault | kTrace1);
  ASSERT_EQ(requests[1].utrace.size(), 3u);
  EXPECT_TRUE(requests[1].utrace[0].differsFromDefault);   // forced off, on by default
  EXPECT_FALSE(requests[1].utrace[1].differsFromDefault);  // at its default, sent all the same
  EXPECT_TRUE(requests[1].utrace[2].differsFromDefault);   // on through the profile
  confirm(1, requests[0]);
  EXPECT_FALSE(done) << "done waits for both halves";
  confirm(1, requests[1]);
  EXPECT_TRUE(done);
}

}  // namespace
}  // namespace kvn
