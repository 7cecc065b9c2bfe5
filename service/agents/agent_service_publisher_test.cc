#include "service/agents/agent_service_publisher.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "service/agents/daxo_test_fixture.h"
#include "util/ns/lingering_ns_handler.h"

namespace kvn::testing {
namespace {

using Names = std::vector<std::string>;

// Keeps the subscriptions of lingering names, so that the test can play another instance.
class FakeSubscriber : public NsSubscribe {
 public:
  void subscribe(const std::string& name, Callback callback) override {
    callbacks[name] = std::move(callback);
  }
  void unsubscribe(const std::string& name) override { callbacks.erase(name); }
  void foreignPublication(const std::string& name) {
    auto it = callbacks.find(name);
    ASSERT_NE(it, callbacks.end()) << name << " does not linger";
    const Callback call = it->second;
    call({name, "kvn-tracecontroller-2"});
  }
  std::map<std::string, Callback> callbacks;
};

class AgentServicePublisherTest : public DaxoTestFixture {
 protected:
  AgentServicePublisherTest() { table.allocate(publisher); }

  // The names the name server holds for this process.
  Names held() const { return Names(server.begin(), server.end()); }

  std::multiset<std::string> server;
  Names publishCalls;
  FakeSubscriber subscriber;
  LingeringNsHandler names{[this](const std::string& n) {
                             publishCalls.push_back(n);
                             server.insert(n);
                           },
                           [this](const std::string& n) { server.erase(server.find(n)); },
                           &subscriber, "kvn-tracecontroller"};
  std::shared_ptr<AgentServicePublisher> publisher = std::make_shared<AgentServicePublisher>(
      &names, connectEvent, "kvn-tracecontroller", "kvn-tracecontroller");
};

TEST_F(AgentServicePublisherTest, EachAgentGetsItsNameAndItsNumber) {
  connectAgent(agent(1));
  connectAgent(agent(2));  // the same name as agent 1: published once
  for (const auto& [n, name] : {std::pair<uint16_t, const char*>{3, ""}, {4, "a/b/c"}}) {
    Description d = agent(n);
    d.instanceName = name;
    connectAgent(d);
  }
  EXPECT_EQ(held(),
            (Names{"kvn-tracecontroller:MOKA", "kvn-tracecontroller:a-b-c", "kvn-tracecontroller;1",
                   "kvn-tracecontroller;2", "kvn-tracecontroller;3", "kvn-tracecontroller;4"}));
  EXPECT_EQ(publishCalls.size(), 6u) << "every later connect event republishes nothing";
}

TEST_F(AgentServicePublisherTest, InstanceNameIsPublishedForGoodAndNotAgainForAnAgent) {
  publisher->publishInstance("tc/1");
  Description same = agent(1);
  same.instanceName = "tc/1";
  const pxm_mbox_id_t peer = connectAgent(same);
  EXPECT_EQ(held(), (Names{"kvn-tracecontroller:tc-1", "kvn-tracecontroller;1"}));
  disconnect(peer);
  EXPECT_EQ(subscriber.callbacks.count("kvn-tracecontroller;1"), 1u);
  EXPECT_EQ(subscriber.callbacks.count("kvn-tracecontroller:tc-1"), 0u) << "not an agent's";
}

TEST_F(AgentServicePublisherTest, NamesOfALostAgentLingerUntilAnotherInstanceHasThem) {
  const pxm_mbox_id_t one = connectAgent(agent(1));
  connectAgent(agent(2));
  disconnect(one);

  // Agent 2 still carries ":MOKA"; only ";1" lingers, still published.
  EXPECT_EQ(subscriber.callbacks.size(), 1u);
  EXPECT_TRUE(names.isLingering("kvn-tracecontroller;1"));
  EXPECT_EQ(server.count("kvn-tracecontroller;1"), 1u);
  // Withdrawn once another instance has it: e2e NamesHandoverTest.
}

TEST_F(AgentServicePublisherTest, AnAgentBackBeforeTheHandOverKeepsItsNamesAndLingersAgain) {
  const pxm_mbox_id_t first = connectAgent(agent(1));
  disconnect(first);
  EXPECT_TRUE(names.isLingering("kvn-tracecontroller:MOKA"));

  const pxm_mbox_id_t second = connectAgent(agent(1));
  EXPECT_FALSE(names.isLingering("kvn-tracecontroller:MOKA"));
  EXPECT_FALSE(names.isLingering("kvn-tracecontroller;1"));
  EXPECT_EQ(publishCalls.size(), 2u) << "never withdrawn, so never published again";

  // The old connection's lost event is over; a later indication changes nothing.
  subscriber.foreignPublication("kvn-tracecontroller;1");
  EXPECT_EQ(held(), (Names{"kvn-tracecontroller:MOKA", "kvn-tracecontroller;1"}));

  // A second loss lingers again, until another instance has the names.
  disconnect(second);
  EXPECT_TRUE(names.isLingering("kvn-tracecontroller:MOKA"));
  EXPECT_TRUE(names.isLingering("kvn-tracecontroller;1"));
  subscriber.foreignPublication("kvn-tracecontroller:MOKA");
  subscriber.foreignPublication("kvn-tracecontroller;1");
  EXPECT_TRUE(server.empty());
}

}  // namespace
}  // namespace kvn::testing
