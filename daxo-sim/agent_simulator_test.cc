// The simulator as a real process on a real hub: this test plays the service's mailbox.

#include "daxo-sim/agent_simulator.h"

#include <signal.h>
#include <string.h>

#include <chrono>
#include <fstream>
#include <memory>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "daxo-sim/connect_message.h"
#include "pxm/pxm.h"
#include "tests/e2e/process.h"
#include "tests/e2e/programs.h"
#include "tests/e2e/pxm_hub.h"

namespace kvn::daxosim {
namespace {

using e2e::eventually;
using json = nlohmann::json;
using Clock = std::chrono::steady_clock;
constexpr auto kDeadline = std::chrono::seconds(10);

class AgentSimulatorTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(hub_.running()) << "the hub did not come up";
    ASSERT_EQ(pxm_init(2, 0, nullptr, nullptr, 0), 0);
    initialized_ = true;
  }

  void TearDown() override {
    agent_.reset();
    if (service_ != PXM_NO_MBOX) pxm_delete_mailbox(service_);
    if (initialized_) pxm_exit();
  }

  void createService() {
    service_ = pxm_create_mailbox("kvn-tracecontroller", 0);
    ASSERT_NE(service_, PXM_NO_MBOX);
  }

  void startAgent(const json& description) {
    std::ofstream(hub_.dir().file("agent.json")) << description.dump();
    agent_ = std::make_unique<e2e::Process>(
        hub_.dir(), "daxo-sim", e2e::programs::kDaxoSim,
        std::vector<std::string>{"--journal", hub_.dir().file("journal.jsonl"),
                                 hub_.dir().file("agent.json")});
  }

  bool journalHas(const std::string& text) const {
    return e2e::contains(hub_.dir().read("journal.jsonl"), text);
  }

  // The next message of number `msgno`, other messages dropped; null after the deadline.
  pxm_msg* receive(uint32_t msgno) {
    for (auto end = Clock::now() + kDeadline; Clock::now() < end;) {
      pxm_msg* m = pxm_receive(nullptr, 100, PXM_FROM_ALL);
      if (m && m->msgno == msgno) return m;
      if (m) pxm_free(&m);
    }
    return nullptr;
  }

  e2e::OwnHub hub_;
  bool initialized_ = false;
  std::unique_ptr<e2e::Process> agent_;
  uint32_t service_ = PXM_NO_MBOX;
};

const json kVersionAgent = json::parse(R"({
  "connect": "version", "version": 2, "roleIndex": 4, "bbmHwNumber": 1,
  "instanceName": "MOKA", "domainDaxoIndex": 1, "loadModuleName": "MOKA_LM",
  "lmcPath": "/nowhere/moka.lmc",
  "routines": [
    {"routineId": 100, "implements": "traceObjectManager"},
    {"routineId": 101, "implements": "forwarder", "link": {"source": "TOKEN", "destination": "TN"}}
  ]
})");

// The connect's layout has its own test, and the end-to-end tests see the service take its
// fields; what only the process shows: it waits for the service, names its mailbox, journals
// requests by name and ends cleanly on SIGTERM.
TEST_F(AgentSimulatorTest, InitialConnectWaitsForTheServiceAndSigtermDeletesTheMailbox) {
  json d = kVersionAgent;
  d["connect"] = "initial";
  for (const char* key : {"version", "roleIndex", "loadModuleName", "lmcPath"}) d.erase(key);
  startAgent(d);
  ASSERT_TRUE(eventually([&] { return journalHas(R"("event":"waiting_for_service")"); }));
  createService();
  pxm_msg* connect = receive(ConnectMessage::kBaseSignalNo);
  ASSERT_NE(connect, nullptr);
  const uint32_t agent = pxm_sender(connect);
  char name[64] = {};
  pxm_get_name(agent, name, sizeof name);
  EXPECT_STREQ(name, "daxo-sim-1");
  pxm_free(&connect);

  // A request to the trace object routine is journalled by name.
  pxm_msg* req = pxm_alloc(14, ConnectMessage::kBaseSignalNo);
  const uint8_t header[] = {0, 100, 0x04, 0xAF, 0, 0, 0, 0, 0xCA, 0xFE};
  memcpy(reinterpret_cast<uint8_t*>(req) + 4, header, sizeof header);
  pxm_send(&req, agent, PXM_MY_MBOX);
  ASSERT_TRUE(eventually([&] { return journalHas(R"("name":"KVN_TRACEOBJECT_SETMASK_REQ")"); }));
  EXPECT_TRUE(journalHas(R"("body":"cafe")") && journalHas(R"("src":1199)"));

  pxm_msg* none = nullptr;
  pxm_monitor(agent, &none);
  agent_->signal(SIGTERM);
  pxm_msg* gone = receive(PXM_MBOX_GONE);
  ASSERT_NE(gone, nullptr);
  EXPECT_EQ(pxm_sender(gone), agent);
  pxm_free(&gone);
  EXPECT_EQ(agent_->wait(), 0);
  EXPECT_TRUE(journalHas(R"("event":"stopped")"));
}

// With --reconnect it connects to the next service (the end-to-end tests restart the service
// under such agents); without, it ends with the service.
TEST_F(AgentSimulatorTest, WithoutReconnectItEndsWithTheService) {
  createService();
  startAgent(kVersionAgent);
  pxm_msg* connect = receive(ConnectMessage::kBaseSignalNo);
  ASSERT_NE(connect, nullptr);
  pxm_free(&connect);
  pxm_delete_mailbox(service_);
  service_ = PXM_NO_MBOX;
  EXPECT_EQ(agent_->wait(), 0);
}

}  // namespace
}  // namespace kvn::daxosim
