// Service names through the name server, with real processes: two instances of the service
// with different mailbox names, an agent that moves from one to the other, and pxm-ns
// watching the names throughout.
#include <gtest/gtest.h>
#include <signal.h>

#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/e2e/process.h"
#include "tests/e2e/programs.h"
#include "tests/e2e/pxm_hub.h"
#include "tests/e2e/run_dir.h"

namespace kvn::e2e {
namespace {

const char* const kAgentName = "kvn-tracecontroller:MOKA-1";
const char* const kAgentNumber = "kvn-tracecontroller;1";

// One line of `pxm-ns watch`: event, service, huntpath.
struct WatchLine {
  std::string event;
  std::string service;
  std::string huntpath;
};

std::vector<WatchLine> watchLines(const std::string& out) {
  std::vector<WatchLine> lines;
  std::istringstream in(out);
  for (std::string line; std::getline(in, line);) {
    std::istringstream fields(line);
    WatchLine w;
    std::getline(fields, w.event, '\t');
    std::getline(fields, w.service, '\t');
    std::getline(fields, w.huntpath, '\t');
    if (w.event == "added" || w.event == "removed") lines.push_back(w);
  }
  return lines;
}

// Replays what a watch saw. False, with the reason, if the name was ever without a
// publisher after its first one came.
bool neverMissing(const std::vector<WatchLine>& lines, std::string* why) {
  std::multiset<std::string> holders;
  bool seen = false;
  for (const WatchLine& w : lines) {
    if (w.event == "added") {
      holders.insert(w.huntpath);
      seen = true;
    } else if (holders.count(w.huntpath) == 0) {
      *why = "removed by " + w.huntpath + " which did not hold it";
      return false;
    } else {
      holders.erase(holders.find(w.huntpath));
      if (holders.empty()) {
        *why = w.service + " had no publisher after " + w.huntpath + " withdrew it";
        return false;
      }
    }
  }
  if (!seen) *why = "never published";
  return seen;
}

class NamesHandoverTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* program :
         {programs::kPxmd, programs::kPxmNs, programs::kTraceController, programs::kDaxoSim})
      if (*program == '\0') GTEST_SKIP() << "pxmd, pxm-ns, the service and daxo-sim are needed";
    hub_ = std::make_unique<PxmHub>(dir_);
    ASSERT_TRUE(hub_->ok()) << "pxmd did not come up: " << hub_->process().err();
    std::ofstream(dir_.file("agent.json")) << R"({"connect": "initial", "bbmHwNumber": 1,
        "instanceName": "MOKA/1", "domainDaxoIndex": 1})";
  }

  std::unique_ptr<Process> service(const std::string& mailbox,
                                   std::vector<std::string> extra = {}) {
    std::vector<std::string> args{"--mailboxname", mailbox};
    args.insert(args.end(), extra.begin(), extra.end());
    auto p = std::make_unique<Process>(dir_, mailbox, programs::kTraceController, args,
                                       Process::Env{{"KVN_LOG_STDERR", "debug"}});
    EXPECT_TRUE(
        eventually([&] { return contains(p->err(), "Mainloop starting") || !p->running(); }));
    EXPECT_TRUE(p->running()) << p->err();
    return p;
  }
  std::unique_ptr<Process> agent(const std::string& name, const std::string& service) {
    return std::make_unique<Process>(
        dir_, name, programs::kDaxoSim,
        std::vector<std::string>{"--service", service, "--journal", dir_.file(name + ".journal"),
                                 dir_.file("agent.json")});
  }
  std::unique_ptr<Process> watch(const std::string& file, const std::string& name) {
    auto p = std::make_unique<Process>(dir_, file, programs::kPxmNs,
                                       std::vector<std::string>{"watch", name});
    EXPECT_TRUE(eventually([&] { return contains(p->out(), "watching\t" + name + "\n"); }))
        << p->err();
    return p;
  }
  // The huntpaths that publish `name` now, by `pxm-ns lookup`.
  std::set<std::string> holders(const std::string& name) {
    Process lookup(dir_, "lookup" + std::to_string(++lookups_), programs::kPxmNs, {"lookup", name});
    EXPECT_TRUE(lookup.wait().has_value());
    // Lines of service, huntpath and mailbox id.
    std::set<std::string> out;
    std::istringstream in(lookup.out());
    for (std::string service, huntpath, id; std::getline(in, service, '\t') &&
                                            std::getline(in, huntpath, '\t') &&
                                            std::getline(in, id);)
      out.insert(huntpath);
    return out;
  }
  // True once `pxm-ns watch` in `w` has printed this line.
  static bool saw(Process& w, const std::string& event, const std::string& name,
                  const std::string& huntpath) {
    return eventually([&] {
      for (const WatchLine& l : watchLines(w.out()))
        if (l.event == event && l.service == name && l.huntpath == huntpath) return true;
      return false;
    });
  }

  RunDir dir_;
  std::unique_ptr<PxmHub> hub_;
  int lookups_ = 0;
};

using Holders = std::set<std::string>;

TEST_F(NamesHandoverTest, AnAgentsNamesPassToTheNextInstanceWithoutAGap) {
  auto byName = watch("watch-name", kAgentName);
  auto byNumber = watch("watch-number", kAgentNumber);
  auto first = service("tc-a", {"--instancename", "site/a"});
  auto second = service("tc-b");

  // The fixed name comes from both, whatever their mailbox names; the instance name from the
  // one that has it.
  EXPECT_EQ(holders("kvn-tracecontroller"), (Holders{"tc-a", "tc-b"}));
  EXPECT_EQ(holders("kvn-tracecontroller:site-a"), Holders{"tc-a"});

  auto agentAtFirst = agent("agent-a", "tc-a");
  ASSERT_TRUE(saw(*byName, "added", kAgentName, "tc-a")) << byName->out() << first->err();
  ASSERT_TRUE(saw(*byNumber, "added", kAgentNumber, "tc-a")) << byNumber->out();

  // The agent dies: its names linger at the first instance, still published.
  agentAtFirst->signal(SIGKILL);
  ASSERT_TRUE(eventually([&] {
    return contains(first->err(), std::string("Subscribing on service ") + kAgentNumber);
  })) << first->err();
  EXPECT_EQ(holders(kAgentName), Holders{"tc-a"});
  EXPECT_EQ(holders(kAgentNumber), Holders{"tc-a"});

  // It comes back at the second instance, which publishes the names; only then does the
  // first withdraw them.
  auto agentAtSecond = agent("agent-b", "tc-b");
  ASSERT_TRUE(saw(*byName, "removed", kAgentName, "tc-a")) << byName->out() << first->err();
  ASSERT_TRUE(saw(*byNumber, "removed", kAgentNumber, "tc-a")) << byNumber->out();
  EXPECT_EQ(holders(kAgentName), Holders{"tc-b"});
  EXPECT_EQ(holders(kAgentNumber), Holders{"tc-b"});

  for (Process* w : {byName.get(), byNumber.get()}) {
    std::string why;
    EXPECT_TRUE(neverMissing(watchLines(w->out()), &why)) << why << "\n" << w->out();
  }

  // The name server never refused anything, and both instances stop cleanly. (The agent has
  // no container, which the services log as errors of their own.)
  EXPECT_EQ(first->stop(SIGTERM), 0);
  EXPECT_EQ(second->stop(SIGTERM), 0);
  for (Process* p : {first.get(), second.get()}) {
    EXPECT_FALSE(contains(p->err(), "Nameserver")) << p->err();
    EXPECT_FALSE(contains(p->err(), "Dropped VOLD")) << p->err();
  }
}

}  // namespace
}  // namespace kvn::e2e
