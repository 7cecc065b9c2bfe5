#include "service/agents/daxo_trace_model.h"

#include <stdlib.h>

#include <gtest/gtest.h>

#include "service/agents/daxo_connect_hooks.h"
#include "service/agents/daxo_test_fixture.h"

namespace kvn {
namespace {

using Form = kvn::daxosim::AgentDescription::ConnectForm;

class DaxoTraceModelTest : public kvn::testing::DaxoTestFixture {
 protected:
  // Connects and gives what went to standard error meanwhile.
  std::string connectCapturingStderr(const Description& d) {
    ::testing::internal::CaptureStderr();
    connectAgent(d);
    return ::testing::internal::GetCapturedStderr();
  }
};

TEST_F(DaxoTraceModelTest, VersionConnectFillsTheRecordAndDeploysEveryFunction) {
  Description d = agent(2);
  d.lmcPath = "/nonexistent/moka.lmc";
  d.attributes = {{10, 0, {4, 0, 0}},  {11, 0, {9, 0, 0}},  {12, 0, {6, 0, 0}},
                  {20, 0, {8, 0, 0}},  {20, 3, {1, 6, 0}},  {21, 0, {8, 0, 0}},
                  {21, 2, {3, 0, 0}},  {21, 3, {3, 12, 0}}, {30, 0, {10, 0, 0}},
                  {31, 0, {11, 0, 0}}, {32, 0, {13, 0, 0}}, {40, 0, {14, 0, 0}},
                  {41, 0, {15, 0, 0}}, {42, 0, {16, 0, 0}}, {43, 0, {99, 0, 0}},
                  {44, 1, {1, 2, 3}},  {44, 0, {16, 0, 0}}};
  struct Recorder : DaxoConnectHooks {
    std::string calls;
    void building(DaxoRecord&) override { calls += "building"; }
    void deployed(DaxoRecord& rec, uint16_t code) override {
      EXPECT_NE(rec.mailbox, 0xFFFFFFFFu);
      calls += " " + std::to_string(code);
    }
    void built(DaxoRecord&) override { calls += " built"; }
  } hooks;
  DaxoTraceModel::addConnectHooks(&hooks);
  const pxm_mbox_id_t peer = connectAgent(d);
  DaxoTraceModel::removeConnectHooks(&hooks);

  // The routines, links, role and buffer size as `zoth info -v` shows them: e2e
  // AgentsInfoTest.OneHeaderWithoutVerboseAndOnePerAgentWithIt.
  const DaxoRecord& r = DaxoTraceModel::get(2);
  EXPECT_TRUE(r.modelValid);
  EXPECT_EQ(r.version, 2u);
  EXPECT_EQ(r.sig2emManager.id, 44);  // the routine with the three numbers too
  EXPECT_TRUE(r.embuf.superTraceControlProxy && r.embuf.superTraceBufferProxy);
  ASSERT_TRUE(r.links[3][12].connectionProxy_p);
  EXPECT_EQ(r.links[3][12].connectionProxy_p->getRoutineId(), 21);
  EXPECT_EQ(r.links[3][12].connectionProxy_p->getMailbox(), peer);
  EXPECT_EQ(r.links[3][12].connectionProxy_p->getLostEvent(), DaxoTraceModel::getDaxoLostEvent(2));
  EXPECT_NE(static_cast<void*>(r.dspLoad.proxy.get()), static_cast<void*>(r.cmPool.proxy.get()));
  EXPECT_TRUE(r.traceLmcReader && r.profileProvider);
  // The container is missing: the tables are empty, so their sizes agree.
  EXPECT_EQ(r.enabledProfiles, std::set<std::string>{"DefaultProfile"});
  // The features saw the build begin, each known function once it stood, and the end.
  EXPECT_EQ(hooks.calls, "building 4 9 6 8 8 10 11 13 14 15 16 16 built");
  EXPECT_EQ(pxm.leakedMessages(), 0u);
}

TEST_F(DaxoTraceModelTest, InitialConnectHasNoContainerRoleOrVersion) {
  Description d = agent(1, Form::kInitial);
  d.attributes = {{40, 0, {14, 0, 0}}};
  LogCapture cap;
  connectAgent(d);
  const DaxoRecord& r = DaxoTraceModel::get(1);
  EXPECT_TRUE(r.modelValid);
  EXPECT_EQ(r.version, 0u);
  EXPECT_EQ(r.roleIndex, 65535);
  EXPECT_TRUE(r.lmcPath.empty() && r.loadModuleName.empty());
  EXPECT_TRUE(
      cap.has(Level::Error, "LMC path was not provided. ProfileProvider is not populated."));
  EXPECT_EQ(r.enabledProfiles.count("DefaultProfile"), 1u);
  // Version 1 has no role either: e2e AgentsInfoTest.KilledAgentDisappears...
}

TEST_F(DaxoTraceModelTest, AttributesAreSortedAndTheLaterRoutineWins) {
  Description d = agent(1);
  // One routine's facts apart, in no order; two forwarders on one link; two hit counters.
  d.attributes = {{25, 3, {1, 6, 0}},    {13, 0, {13, 0, 0}}, {24, 0, {8, 0, 0}},
                  {12, 0, {13, 0, 0}},   {24, 3, {1, 6, 0}},  {25, 0, {8, 0, 0}},
                  {65535, 0, {14, 0, 0}}};
  connectAgent(d);
  const DaxoRecord& r = DaxoTraceModel::get(1);
  EXPECT_TRUE(r.modelValid);
  EXPECT_EQ(r.links[1][6].id, 25);
  EXPECT_EQ(r.traceHitCounter.id, 13);
  EXPECT_EQ(r.traceObjectManager.id, 65535);  // routine 65535 is dropped
}

TEST_F(DaxoTraceModelTest, ImplementsAndLinkFaultsInvalidateTheModelButNotTheRest) {
  Description d = agent(1);
  d.attributes = {{7, 2, {4, 0, 0}},                       // no IMPLEMENTS, one property
                  {8, 0, {13, 0, 0}}, {8, 0, {10, 0, 0}},  // two
                  {9, 0, {8, 0, 0}},                       // forwarder without a LINK
                  {10, 0, {8, 0, 0}}, {10, 3, {1, 6, 0}},  {10, 3, {2, 6, 0}},
                  {11, 0, {8, 0, 0}}, {11, 3, {17, 6, 0}},  // outside the table
                  {30, 0, {10, 0, 0}}};
  LogCapture cap;
  const std::string err = connectCapturingStderr(d);
  EXPECT_EQ(err,
            "Too many IMPLEMENTS (#:1) for routine:7 "
            "Model expect IMPLEMENTS for routine:8"
            "Model expect LINK, #of LINK:0 "
            "Model expect LINK, #of LINK:2 ");
  const DaxoRecord& r = DaxoTraceModel::get(1);
  EXPECT_TRUE(r.connected);
  EXPECT_FALSE(r.modelValid);
  EXPECT_EQ(r.rttManager.id, 30);  // handled all the same
  EXPECT_EQ(r.traceHitCounter.id, 65535);
  EXPECT_TRUE(cap.has(Level::Error, "Failed build valid model for bbmWhNumber=1"));
  for (const auto& row : r.links)
    for (const ForwarderLink& link : row) EXPECT_FALSE(link.deployed);
}

TEST_F(DaxoTraceModelTest, LinkCountNeedsExactlyOneProperty) {
  Description d = agent(1);
  d.attributes = {
      {20, 0, {8, 0, 0}}, {20, 3, {1, 6, 0}},  {20, 2, {0, 0, 0}}, {21, 0, {8, 0, 0}},
      {21, 3, {2, 6, 0}}, {22, 0, {8, 0, 0}},  {22, 3, {3, 6, 0}}, {22, 2, {5, 0, 0}},
      {22, 2, {6, 0, 0}}, {23, 0, {14, 0, 0}}, {23, 2, {5, 0, 0}}};  // counted and ignored
  connectAgent(d);
  const DaxoRecord& r = DaxoTraceModel::get(1);
  EXPECT_TRUE(r.modelValid);
  EXPECT_EQ(r.links[1][6].linkCount, 0);
  EXPECT_EQ(r.links[2][6].linkCount, 1);
  EXPECT_EQ(r.links[3][6].linkCount, 1);
  EXPECT_EQ(r.traceObjectManager.id, 23);
}

TEST_F(DaxoTraceModelTest, ShortMessagesAreLoggedAndUsedAsTheyStand) {
  Description d = agent(1, Form::kInitial);
  d.attributes = {{9, 0, {13, 0, 0}}};
  d.attributeCount = 2;
  LogCapture cap;
  connectAgent(d);
  EXPECT_TRUE(cap.has(Level::Error,
                      "InitialConnect message size is not large enough for the expected "
                      "attributes. Expected size 60 but found 50"));
  // The attribute stayed big-endian: routine 0x0900 implementing 0x0D00, which is nothing.
  EXPECT_TRUE(DaxoTraceModel::get(1).modelValid);
  EXPECT_EQ(DaxoTraceModel::get(1).traceHitCounter.id, 65535);

  Description v = agent(2);
  v.attributeCount = 1;
  connectAgent(v);
  EXPECT_TRUE(cap.has(Level::Error,
                      "DaxoVersionConnect message size is not large enough for the expected "
                      "attributes. Expected size 330 but found 320"));
  EXPECT_TRUE(DaxoTraceModel::get(2).connected);

  // Shorter than the fields themselves: nothing is read past the end, the number reads as 0.
  cap.clear();
  const pxm_mbox_id_t peer = pxm.createPeer("stub");
  connect(peer, agent(3), 20);
  EXPECT_TRUE(
      cap.has(Level::Error, "Daxo connected with bbmHwNumber=0.Allowed bbmHwNumbers are 1 - 5"));
  EXPECT_TRUE(cap.has(Level::Error, "Failed build valid model for bbmWhNumber=0"));
  EXPECT_EQ(pxm.leakedMessages(), 0u);
}

TEST_F(DaxoTraceModelTest, UnknownPropertyTypeLeavesTheLaterAttributesUnconverted) {
  Description d = agent(1);
  d.attributes = {{30, 0, {10, 0, 0}}, {31, 9, {0, 0, 0}}, {32, 0, {13, 0, 0}}};
  LogCapture cap;
  const std::string err = connectCapturingStderr(d);
  EXPECT_TRUE(cap.has(Level::Error, "Unknown propertyType in componentAttribute: 9"));
  const DaxoRecord& r = DaxoTraceModel::get(1);
  EXPECT_EQ(r.rttManager.id, 30);
  EXPECT_EQ(r.traceHitCounter.id, 65535);  // read as routine 0x2000 implementing 0x0D00
  EXPECT_FALSE(r.modelValid);              // routine 31 has a property and no IMPLEMENTS
  EXPECT_EQ(err, "Too many IMPLEMENTS (#:0) for routine:31 ");
}

TEST_F(DaxoTraceModelTest, NumbersOutsideOneToFiveTouchNoRecordButAreWatched) {
  LogCapture cap;
  connectAgent(agent(6));
  connectAgent(agent(0, Form::kInitial));
  EXPECT_TRUE(
      cap.has(Level::Error, "Daxo connected with bbmHwNumber=6.Allowed bbmHwNumbers are 1 - 5"));
  EXPECT_TRUE(
      cap.has(Level::Error, "Daxo connected with bbmHwNumber=0. Allowed bbmHwNumbers are 1 - 5"));
  EXPECT_TRUE(cap.has(Level::Error, "Failed build valid model for bbmWhNumber=6"));
  EXPECT_EQ(cap.count(Level::Error, "Could not determine which daxo connected"), 2);
  for (uint16_t n = 1; n <= 5; ++n) EXPECT_EQ(DaxoTraceModel::get(n).bbmHwNumber, 0);
  EXPECT_EQ(pxm.monitorCount(), 2u);
}

TEST_F(DaxoTraceModelTest, SavedStatePathFollowsTheEnvironment) {
  DaxoRecord r;
  r.instanceName = "a/b";
  r.domainDaxoIndex = 2;
  unsetenv("LOG_DIR");
  unsetenv("TRACE_CONTROLLER_ID");
  EXPECT_EQ(DaxoTraceModel::savedStatePath(r), "/tmp/savedTraceGroupsAndProfilesTC2_a-b-2");
  setenv("TRACE_CONTROLLER_ID", "7", 1);
  EXPECT_EQ(DaxoTraceModel::savedStatePath(r), "/tmp/savedTraceGroupsAndProfilesTC2_a-b-27");
  unsetenv("TRACE_CONTROLLER_ID");
}

TEST_F(DaxoTraceModelTest, LinksAttachAndDetachOnlyWhenDeployed) {
  Description d = agent(1);
  d.attributes = {{20, 0, {8, 0, 0}}, {20, 3, {1, 6, 0}}};
  connectAgent(d);
  uint16_t id = 0;
  EXPECT_FALSE(DaxoTraceModel::detachLink(1, 1, 6, id));
  EXPECT_EQ(id, 65535);
  EXPECT_TRUE(DaxoTraceModel::attachLink(1, 1, 6, id));
  EXPECT_EQ(id, 20);
  EXPECT_FALSE(DaxoTraceModel::attachLink(1, 1, 6, id));
  EXPECT_EQ(id, 65535);
  EXPECT_FALSE(DaxoTraceModel::attachLink(1, 2, 6, id));
  EXPECT_FALSE(DaxoTraceModel::attachLink(1, 40, 6, id));
  EXPECT_TRUE(DaxoTraceModel::detachLink(1, 1, 6, id));
  EXPECT_EQ(id, 20);
}

}  // namespace
}  // namespace kvn
