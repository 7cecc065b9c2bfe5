// The simulator as a real process on a real hub: this test plays the service's mailbox.

#include "daxo-sim/agent_simulator.h"

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "daxo-sim/connect_message.h"
#include "pxm/pxm.h"

namespace kvn::daxosim {
namespace {

using json = nlohmann::json;
using Clock = std::chrono::steady_clock;
constexpr auto kDeadline = std::chrono::seconds(10);

// Polls `done` until it holds or the deadline passes.
bool eventually(const std::function<bool()>& done) {
  for (auto end = Clock::now() + kDeadline; Clock::now() < end;) {
    if (done()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return done();
}

// A child process, killed and reaped when the object goes.
class Child {
 public:
  explicit Child(std::vector<std::string> argv, const std::string& log) {
    pid_ = fork();
    if (pid_ == 0) {
      int fd = open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
      if (fd >= 0) {
        dup2(fd, 1);
        dup2(fd, 2);
      }
      std::vector<char*> args;
      for (std::string& a : argv) args.push_back(a.data());
      args.push_back(nullptr);
      execv(args[0], args.data());
      _exit(127);
    }
  }
  ~Child() {
    if (pid_ > 0) {
      kill(pid_, SIGKILL);
      waitpid(pid_, nullptr, 0);
    }
  }
  void signal(int sig) { kill(pid_, sig); }
  // The exit status once the process has ended, -1 if it has not within the deadline.
  int waitExit() {
    int status = 0;
    bool ended = eventually([&] { return waitpid(pid_, &status, WNOHANG) == pid_; });
    if (!ended) return -1;
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

 private:
  pid_t pid_ = -1;
};

class AgentSimulatorTest : public ::testing::Test {
 protected:
  void SetUp() override {
#ifndef PXMD_PATH
    GTEST_SKIP() << "the mailbox hub is not built in this tree";
#else
    char tmpl[] = "/tmp/daxo-sim-test-XXXXXX";
    ASSERT_NE(mkdtemp(tmpl), nullptr);
    dir_ = tmpl;
    setenv("PXM_RUNDIR", (dir_ + "/pxm").c_str(), 1);
    hub_ = std::make_unique<Child>(std::vector<std::string>{PXMD_PATH}, dir_ + "/pxmd.log");
    unsigned char params[36] = {};
    ASSERT_TRUE(eventually([&] { return pxm_init(2, 0, params, nullptr, 0) == 0; }))
        << "the hub did not come up";
    initialized_ = true;
#endif
  }

  void TearDown() override {
    agent_.reset();
    if (service_ != PXM_NO_MBOX) pxm_delete_mailbox(service_);
    if (initialized_) pxm_exit();
    hub_.reset();
    if (!dir_.empty()) std::filesystem::remove_all(dir_);
  }

  void createService() {
    service_ = pxm_create_mailbox("kvn-tracecontroller", 0);
    ASSERT_NE(service_, PXM_NO_MBOX);
  }

  void startAgent(const json& description, std::vector<std::string> extra = {}) {
    std::ofstream(dir_ + "/agent.json") << description.dump();
    std::vector<std::string> argv = {DAXO_SIM_PATH, "--journal", journalPath()};
    argv.insert(argv.end(), extra.begin(), extra.end());
    argv.push_back(dir_ + "/agent.json");
    agent_ = std::make_unique<Child>(argv, dir_ + "/daxo-sim.log");
  }

  std::string journalPath() const { return dir_ + "/journal.jsonl"; }

  std::vector<json> journal() const {
    std::vector<json> out;
    std::ifstream in(journalPath());
    for (std::string line; std::getline(in, line);) out.push_back(json::parse(line));
    return out;
  }

  bool journalHas(const std::string& key, const std::string& value) const {
    for (const json& l : journal())
      if (l.contains(key) && l[key] == value) return true;
    return false;
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

  std::vector<uint8_t> bytesOf(pxm_msg* m) {
    const uint8_t* p = reinterpret_cast<const uint8_t*>(m);
    return std::vector<uint8_t>(p, p + pxm_size(m));
  }

  std::string dir_;
  bool initialized_ = false;
  std::unique_ptr<Child> hub_;
  std::unique_ptr<Child> agent_;
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

TEST_F(AgentSimulatorTest, VersionConnectArrivesExactlyAndStopDeletesTheMailbox) {
  createService();
  startAgent(kVersionAgent);
  pxm_msg* connect = receive(ConnectMessage::kBaseSignalNo);
  ASSERT_NE(connect, nullptr);
  EXPECT_EQ(bytesOf(connect), ConnectMessage::encode(AgentDescription::fromJson(kVersionAgent)));
  EXPECT_EQ(pxm_size(connect), 318u + 3 * 10 + 2);
  const uint32_t agent = pxm_sender(connect);
  char name[64] = {};
  pxm_get_name(agent, name, sizeof name);
  EXPECT_STREQ(name, "daxo-sim-1");
  pxm_free(&connect);

  // A request to the trace object routine is journalled by name.
  pxm_msg* req = pxm_alloc(14, ConnectMessage::kBaseSignalNo);
  uint8_t* b = reinterpret_cast<uint8_t*>(req);
  const uint8_t header[] = {0, 100, 0x04, 0xAF, 0, 0, 0, 0, 0xCA, 0xFE};
  memcpy(b + 4, header, sizeof header);
  pxm_send(&req, agent, PXM_MY_MBOX);
  ASSERT_TRUE(eventually([&] { return journalHas("name", "KVN_TRACEOBJECT_SETMASK_REQ"); }));
  for (const json& l : journal())
    if (l.contains("name")) {
      EXPECT_EQ(l["src"], 1199);
      EXPECT_EQ(l["body"], "cafe");
    }

  pxm_msg* none = nullptr;
  pxm_monitor(agent, &none);
  agent_->signal(SIGTERM);
  pxm_msg* gone = receive(PXM_MBOX_GONE);
  ASSERT_NE(gone, nullptr);
  EXPECT_EQ(pxm_sender(gone), agent);
  pxm_free(&gone);
  EXPECT_EQ(agent_->waitExit(), 0);
  EXPECT_TRUE(journalHas("event", "stopped"));
}

TEST_F(AgentSimulatorTest, InitialConnectWaitsForTheServiceAndKillIsSeen) {
  json d = {{"connect", "initial"}, {"bbmHwNumber", 2}, {"instanceName", "A/B"},
            {"domainDaxoIndex", 7}, {"mailboxName", "agent-two"},
            {"routines", {{{"routineId", 9}, {"implements", 13}}}}};
  startAgent(d);
  ASSERT_TRUE(eventually([&] { return journalHas("event", "waiting_for_service"); }));
  createService();
  pxm_msg* connect = receive(ConnectMessage::kBaseSignalNo);
  ASSERT_NE(connect, nullptr);
  std::vector<uint8_t> m = bytesOf(connect);
  ASSERT_EQ(m.size(), 50u);
  EXPECT_EQ(m[5], 0);  // routine 0
  EXPECT_EQ(m[35], 2);
  EXPECT_EQ(m[33], 7);
  EXPECT_EQ(m, ConnectMessage::encode(AgentDescription::fromJson(d)));
  const uint32_t agent = pxm_sender(connect);
  pxm_free(&connect);

  pxm_msg* none = nullptr;
  pxm_monitor(agent, &none);
  agent_->signal(SIGKILL);
  pxm_msg* gone = receive(PXM_MBOX_GONE);
  ASSERT_NE(gone, nullptr);
  EXPECT_EQ(pxm_sender(gone), agent);
  pxm_free(&gone);
}

TEST_F(AgentSimulatorTest, ReconnectsToANewServiceOnlyWhenAsked) {
  createService();
  startAgent(kVersionAgent, {"--reconnect"});
  pxm_msg* first = receive(ConnectMessage::kBaseSignalNo);
  ASSERT_NE(first, nullptr);
  pxm_free(&first);
  pxm_delete_mailbox(service_);
  service_ = PXM_NO_MBOX;
  ASSERT_TRUE(eventually([&] { return journalHas("event", "service_lost"); }));
  createService();
  pxm_msg* second = receive(ConnectMessage::kBaseSignalNo);
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(bytesOf(second), ConnectMessage::encode(AgentDescription::fromJson(kVersionAgent)));
  pxm_free(&second);

  // Without the option the simulator ends with the service.
  agent_.reset();
  startAgent(kVersionAgent);
  pxm_msg* third = receive(ConnectMessage::kBaseSignalNo);
  ASSERT_NE(third, nullptr);
  pxm_free(&third);
  pxm_delete_mailbox(service_);
  service_ = PXM_NO_MBOX;
  EXPECT_EQ(agent_->waitExit(), 0);
}

}  // namespace
}  // namespace kvn::daxosim
