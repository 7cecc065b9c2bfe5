#pragma once

#include <chrono>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tests/e2e/process.h"
#include "tests/e2e/run_dir.h"
#include "tests/e2e/test_system.h"
#include "tests/soak/command_mix.h"

namespace kvn::soak {

// One soak: the hub, the service, five agents, the diag handler and a few front ends as real
// processes, a seeded mix of commands for a bounded time while peers are killed and come back,
// then a quiet end and the figures. Nothing is replayed exactly (the processes race), but the
// same seed gives the same lines and the same faults in the same order.
class SoakRun {
 public:
  using Clock = std::chrono::steady_clock;

  struct Figures {
    int run = 0;         // command lines started
    int ended = 0;       // the service ended them with a result
    int refused = 0;     // refused, or no such sub-command (or the shell refused to send)
    int aborted = 0;     // of the ended: after a Ctrl-C of the front end
    int killed = 0;      // front ends killed with kill -9 mid-command
    int unexpected = 0;  // front ends that gave up: service or hub gone, output lost
    int overdue = 0;     // not ended within the bound
    int agentKills = 0;
    int agentRestartsFailed = 0;
    int diagBounces = 0;  // went away and came back, by itself or killed and started again
    int serviceRestarts = 0;
    int slotsAtStart = -1;
    int slotsAtEnd = -1;
    long rssWarmKb = 0;
    long rssEndKb = 0;
  };

  SoakRun(uint32_t seed, std::chrono::seconds length);
  SoakRun(const SoakRun&) = delete;
  SoakRun& operator=(const SoakRun&) = delete;

  // False, with the reason, when the system did not come up.
  bool start(std::string& error);
  void run();
  const Figures& figures() const { return figures_; }

 private:
  static constexpr int kFrontEnds = 4;
  static constexpr std::chrono::seconds kBound{30};

  struct FrontEnd {
    std::unique_ptr<e2e::Process> process;
    std::string line;
    Clock::time_point started;
    bool killed = false;
    bool interrupted = false;
  };
  struct Agent {
    bool up = true;
    bool dropsConfirms = false;
    Clock::time_point next;  // when it is killed (while up) or started (while down)
  };

  void reap(FrontEnd& fe, bool overdue);
  void startCommand(FrontEnd& fe);
  void fault();
  void killAgent(int number);
  void tendAgents();
  void startAgent(int number, bool faults);
  void startDiag();
  void checkService();
  long serviceRssKb();
  Clock::duration millis(int from, int to);

  std::mt19937 random_;
  std::chrono::seconds length_;
  e2e::RunDir dir_;
  e2e::TestSystem system_;
  CommandMix mix_;
  FrontEnd frontEnds_[kFrontEnds];
  Agent agents_[5];
  std::unique_ptr<e2e::Process> diag_;
  int diagRuns_ = 0;
  Clock::time_point diagBack_ = Clock::time_point::max();
  bool serviceDown_ = false;
  Figures figures_;
};

}  // namespace kvn::soak
