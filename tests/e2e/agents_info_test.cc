// zoth info with real processes: the test system's hub and service, simulated agents of this
// test's own descriptions, and kvnsh.
#include <gtest/gtest.h>
#include <signal.h>

#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tests/e2e/process.h"
#include "tests/e2e/programs.h"
#include "tests/e2e/test_system.h"

namespace kvn::e2e {
namespace {

// Agent 1: one of its routines says it is two things, so its model is invalid.
const char* const kBrokenAgent = R"({
  "connect": "initial", "bbmHwNumber": 1, "instanceName": "BROKEN", "domainDaxoIndex": 1,
  "routines": [
    {"routineId": 30, "implements": "rttManager"},
    {"routineId": 50, "implements": ["traceHitCounter", "rttManager"]}
  ]
})";

// Agent 2: everything info lists, links with the default, a given and a zero link count.
const char* const kMokaAgent = R"({
  "connect": "version", "version": 2, "bbmHwNumber": 2, "instanceName": "MOKA",
  "domainDaxoIndex": 2, "roleIndex": 1, "loadModuleName": "dsp1", "lmcPath": "agents.lmc",
  "routines": [
    {"routineId": 10, "implements": "embuf"},
    {"routineId": 11, "implements": "memoryBuffer"},
    {"routineId": 12, "implements": "traceDest"},
    {"routineId": 20, "implements": "forwarder", "link": {"source": "TOKEN", "destination": "TN"}},
    {"routineId": 21, "implements": "forwarder", "linkCount": 2,
     "link": {"source": "LPP_TRACE", "destination": "LOGSERVER"}},
    {"routineId": 22, "implements": "forwarder", "linkCount": 0,
     "link": {"source": "RTT", "destination": "EMBUF"}},
    {"routineId": 23, "implements": "forwarder", "link": {"source": 5, "destination": 16}},
    {"routineId": 30, "implements": "rttManager"},
    {"routineId": 31, "implements": "measurements"},
    {"routineId": 32, "implements": "traceHitCounter"},
    {"routineId": 40, "implements": "traceObjectManager"},
    {"routineId": 41, "implements": "uniqueTraceManager"},
    {"routineId": 42, "implements": "sig2emManager"}
  ]
})";

// Agent 4: the initial connect, so no role.
const char* const kLegacyAgent = R"({
  "connect": "initial", "bbmHwNumber": 4, "instanceName": "LEGACY", "domainDaxoIndex": 7,
  "routines": [
    {"routineId": 20, "implements": "forwarder",
     "link": {"source": "EBCOM", "destination": "LOGSERVER"}},
    {"routineId": 40, "implements": "traceObjectManager"}
  ]
})";

const char* const kHeader =
    "Instance name        Physical daxo id     Domain daxo index     Role index\n";
const char* const kBrokenLine = "   Connected but invalid model for daxo 1\n";
const char* const kMokaRow =
    "MOKA                 2                    2                     1         \n";
const char* const kLegacyRow =
    "LEGACY               4                    7                     65535     \n";
const char* const kMokaDeployment =
    "\n   Deployed forwarders:\n"
    "      TOKEN -> TN (Id: 20) [1]\n"
    "      RTT -> EMBUF (Id: 22)\n"
    "      LPP_TRACE -> LOGSERVER (Id: 21) [2]\n"
    "      UNKNOWN -> UNKNOWN (Id: 23) [1]\n"
    "\n   Deployed extras:\n"
    "      embuf (Id: 10)\n"
    "         size 200 MiB\n"
    "      rttManager (Id: 30)\n"
    "      traceHitCounter (Id: 32)\n"
    "      traceObjectManager (Id: 40)\n"
    "      traceDest (Id: 12)\n"
    "      uniqueTraceManager (Id: 41)\n"
    "      sig2emManager (Id: 42)\n"
    "\n";
const char* const kLegacyDeployment =
    "\n   Deployed forwarders:\n"
    "      EBCOM -> LOGSERVER (Id: 20) [1]\n"
    "\n   Deployed extras:\n"
    "      traceObjectManager (Id: 40)\n"
    "\n";

class AgentsInfoTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(system_.ok()) << system_.error(); }

  std::string serviceLog() { return system_.service().err(); }

  // Starts agent `number` from `description` and waits until the service has taken its connect
  // in: commands sent after that see the new model.
  void startAgent(int number, const std::string& description) {
    const std::string name = "agent" + std::to_string(number);
    const std::string connected = "DAXO Connect: bbmWhNumber=" + std::to_string(number) + ",";
    const size_t before = countOf(serviceLog(), connected);
    std::ofstream(dir_.file(name + ".json")) << description;
    const std::string run = name + "-" + std::to_string(++starts_);
    agents_[number] =
        std::make_unique<Process>(dir_, run, programs::kDaxoSim,
                                  std::vector<std::string>{"--journal", dir_.file(run + ".journal"),
                                                           dir_.file(name + ".json")});
    ASSERT_TRUE(eventually([&] { return countOf(serviceLog(), connected) > before; }))
        << agents_[number]->err() << serviceLog();
  }

  // kill -9 of the agent, and the service has noticed.
  void killAgent(int number) {
    const std::string lost = "DAXO disconnected: bbmWhNumber=" + std::to_string(number);
    const size_t before = countOf(serviceLog(), lost);
    agents_[number]->signal(SIGKILL);
    ASSERT_TRUE(agents_[number]->wait().has_value());
    ASSERT_TRUE(eventually([&] { return countOf(serviceLog(), lost) > before; })) << serviceLog();
  }

  // `kvnsh zoth info <args>` to its end: the text it printed; the exit status must be 0.
  std::string info(std::vector<std::string> args = {}) {
    args.insert(args.begin(), {"zoth", "info"});
    const std::unique_ptr<Process> shell = system_.startShell(args);
    EXPECT_EQ(shell->wait(), 0) << shell->err();
    EXPECT_EQ(shell->err(), "");
    return shell->out();
  }

  RunDir dir_;
  TestSystem system_{dir_};  // the hub, the service and the container agents.lmc
  std::map<int, std::unique_ptr<Process>> agents_;
  int starts_ = 0;
};

TEST_F(AgentsInfoTest, OneHeaderWithoutVerboseOnePerAgentWithItAndGoneAgentsAreNotListed) {
  EXPECT_EQ(info(), "There is no daxo connected.\n");

  ASSERT_NO_FATAL_FAILURE(startAgent(4, kLegacyAgent));
  ASSERT_NO_FATAL_FAILURE(startAgent(2, kMokaAgent));
  ASSERT_NO_FATAL_FAILURE(startAgent(1, kBrokenAgent));

  // The invalid agent comes first and prints no header; the header still stands above the
  // first valid row, and only there.
  EXPECT_EQ(info(), std::string(kBrokenLine) + kHeader + kMokaRow + kLegacyRow);
  const std::string both =
      std::string(kHeader) + kMokaRow + kMokaDeployment + kHeader + kLegacyRow + kLegacyDeployment;
  EXPECT_EQ(info({"-v"}), kBrokenLine + both);
  EXPECT_EQ(info({"--verbose"}), kBrokenLine + both);

  ASSERT_NO_FATAL_FAILURE(killAgent(1));
  ASSERT_NO_FATAL_FAILURE(killAgent(2));
  EXPECT_EQ(info({"-v"}), std::string(kHeader) + kLegacyRow + kLegacyDeployment);

  // The same agent again: all of it is back.
  ASSERT_NO_FATAL_FAILURE(startAgent(2, kMokaAgent));
  EXPECT_EQ(info({"-v"}), both);

  // Another description under the same number: nothing of the earlier connection is left.
  ASSERT_NO_FATAL_FAILURE(killAgent(2));
  ASSERT_NO_FATAL_FAILURE(startAgent(2, R"({
    "connect": "version", "version": 1, "bbmHwNumber": 2, "instanceName": "MOKA",
    "domainDaxoIndex": 3, "loadModuleName": "dsp1", "lmcPath": "agents.lmc",
    "routines": [{"routineId": 44, "implements": "traceObjectManager"}]
  })"));
  EXPECT_EQ(info({"-v"}),
            std::string(kHeader) +
                "MOKA                 2                    3                     65535     \n"
                "\n   Deployed forwarders:\n"
                "\n   Deployed extras:\n"
                "      traceObjectManager (Id: 44)\n"
                "\n" +
                kHeader + kLegacyRow + kLegacyDeployment);

  // Records of agents that went stay full, but info shows connected agents only.
  ASSERT_NO_FATAL_FAILURE(killAgent(2));
  ASSERT_NO_FATAL_FAILURE(killAgent(4));
  EXPECT_EQ(info(), "There is no daxo connected.\n");
  EXPECT_TRUE(system_.service().running());
}

}  // namespace
}  // namespace kvn::e2e
