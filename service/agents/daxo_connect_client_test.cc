#include "service/agents/daxo_connect_client.h"

#include <gtest/gtest.h>

#include "service/agents/daxo_test_fixture.h"
#include "util/mainloop/event_callback_routine.h"

namespace kvn {
namespace {

class DaxoConnectClientTest : public kvn::testing::DaxoTestFixture {
 protected:
  void SetUp() override {
    connectedHandle = monitor->subscribeConnected([this](uint16_t n) { events.push_back(+n); });
    lostHandle = monitor->subscribeDisconnected([this](uint16_t n) { events.push_back(-n); });
  }

  std::vector<int> events;  // +n connected, -n lost, in call order
  std::unique_ptr<DaxoSubscriptionHandle> connectedHandle, lostHandle;
};

TEST_F(DaxoConnectClientTest, DeathMarksTheAgentGoneKeepsTheRecordAndBroadcastsItsLostEvent) {
  Description d = agent(2);
  d.attributes = {{40, 0, {14, 0, 0}}};
  const pxm_mbox_id_t peer = connectAgent(d);
  EXPECT_EQ(events, std::vector<int>{2});
  EXPECT_EQ(monitor->connectedDaxos(), std::set<uint16_t>{2});

  // A session waiting on the agent hears of the loss, with the model already updated.
  bool sawConnected = true;
  auto session = std::make_shared<EventCallbackRoutine>();
  table.allocate(session);
  session->addEventCallback(DaxoTraceModel::getDaxoLostEvent(2), [&](kvntrace::EventId) {
    sawConnected = DaxoTraceModel::get(2).connected;
  });

  disconnect(peer);
  EXPECT_FALSE(sawConnected);
  EXPECT_EQ(events, (std::vector<int>{2, -2}));
  EXPECT_TRUE(monitor->connectedDaxos().empty());
  const DaxoRecord& r = DaxoTraceModel::get(2);
  EXPECT_FALSE(r.connected);
  EXPECT_TRUE(r.modelValid);
  EXPECT_EQ(r.traceObjectManager.id, 40);
  EXPECT_EQ(pxm.monitorCount(), 0u);
  // The reconnect that replaces the record: e2e AgentsInfoTest.KilledAgentDisappears...
}

TEST_F(DaxoConnectClientTest, ReconnectWithoutDeathIsNotANewConnection) {
  const pxm_mbox_id_t peer = connectAgent(agent(1));
  const kvntrace::EventId old = DaxoTraceModel::getDaxoLostEvent(1);
  LogCapture cap;
  connect(peer, agent(1));
  EXPECT_TRUE(cap.has(Level::Error, "Could not determine which daxo connected"));
  EXPECT_EQ(events, std::vector<int>{1});
  EXPECT_EQ(monitor->connectedDaxos(), std::set<uint16_t>{1});
  EXPECT_NE(DaxoTraceModel::getDaxoLostEvent(1), old);
  EXPECT_EQ(pxm.monitorCount(), 1u);  // watched once
}

TEST_F(DaxoConnectClientTest, TwoDeathsInOnePassAreHandledApart) {
  const pxm_mbox_id_t a = connectAgent(agent(1));
  const pxm_mbox_id_t b = connectAgent(agent(3));
  pxm.kill(b);
  disconnect(a);
  EXPECT_EQ(events, (std::vector<int>{1, 3, -3, -1}));
  EXPECT_FALSE(DaxoTraceModel::get(1).connected || DaxoTraceModel::get(3).connected);
}

TEST_F(DaxoConnectClientTest, StrangersAndOutOfRangeNumbersChangeNothing) {
  client->handleLostMailbox(4242);

  const pxm_mbox_id_t bad = connectAgent(agent(6));
  disconnect(bad);
  for (uint16_t n = 1; n <= 5; ++n) EXPECT_EQ(DaxoTraceModel::get(n).bbmHwNumber, 0);
  EXPECT_TRUE(events.empty());

  // A message to a routine other than 0 and 5 still raises the connect event.
  std::vector<uint8_t> msg(40, 0);
  reinterpret_cast<KvnObsSubMessageWithSubMsgNo*>(msg.data())->dstRoutineId = 7;
  LogCapture cap;
  client->handleConnect(99, msg.data(), msg.size());
  EXPECT_TRUE(cap.has(Level::Error, "Received message for unknown destination routine 7"));
  EXPECT_TRUE(cap.has(Level::Error, "Could not determine which daxo connected"));
  EXPECT_EQ(pxm.leakedMessages(), 0u);
}

TEST_F(DaxoConnectClientTest, MonitorCallsInSubscriptionOrderUntilTheHandleGoes) {
  std::vector<std::string> calls;
  auto first = monitor->subscribeDisconnected([&](uint16_t) { calls.push_back("first"); });
  auto second = monitor->subscribeDisconnected([&](uint16_t) {
    calls.push_back("second");
    first.reset();  // ends another subscription from inside the broadcast
  });
  auto third = monitor->subscribeDisconnected([&](uint16_t) { calls.push_back("third"); });
  disconnect(connectAgent(agent(4)));
  EXPECT_EQ(calls, (std::vector<std::string>{"first", "second", "third"}));

  calls.clear();
  third.reset();
  disconnect(connectAgent(agent(4)));
  EXPECT_EQ(calls, std::vector<std::string>{"second"});
}

TEST_F(DaxoConnectClientTest, StopWatchingConnectedAgentsWhenTheClientGoes) {
  connectAgent(agent(1));
  disconnect(connectAgent(agent(2)));
  EXPECT_EQ(pxm.monitorCount(), 1u);
  table.free(0);
  table.free(5);
  client.reset();
  EXPECT_EQ(pxm.monitorCount(), 0u);
}

}  // namespace
}  // namespace kvn
