#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/e2e/process.h"
#include "tests/e2e/pxm_hub.h"
#include "tests/e2e/run_dir.h"

namespace kvn::e2e {

// The system of the saved state tests as real processes in one run directory: the hub, the
// service (which can be stopped and started again) and one simulated agent, number 1 ("MOKA",
// index 1), which can be killed and started again. The agent's container has the objects obj,
// ulScheduler and harqHandler, the utrace points ulScheduler.grant (id 1, off by default),
// ulScheduler.alloc (id 2, on) and harqHandler.retx (id 3, off), and the profile "Scheduling"
// ("*;*;*Scheduler.trace1"). The service keeps its saved states in `stateDir()`.
class StateSystem {
 public:
  static constexpr uint32_t kDefaultMask = 0x100013;  // check, error, info, interface

  explicit StateSystem(const RunDir& dir);

  // False (with the reason in `error()`) when a program is missing or did not come up.
  bool ok() const { return error_.empty(); }
  const std::string& error() const { return error_; }

  bool startService();
  Process& service() { return *service_; }

  // Starts the agent with a fresh journal and extra daxo-sim options, and waits until its
  // initial masks are in the journal.
  bool startAgent(std::vector<std::string> options = {});
  Process& agent() { return *agent_; }

  // Runs `kvnsh <words>` to its end; gives the exit status and sets `out`.
  int shell(const std::vector<std::string>& words, std::string& out);

  // Journal lines of the agent's current run that hold `text`.
  std::vector<std::string> journalLines(const std::string& text) const;

  std::string stateDir() const { return dir_.file("state"); }
  std::string stateFile() const { return stateDir() + "/savedTraceGroupsAndProfilesTC2_MOKA-1"; }

 private:
  const RunDir& dir_;
  std::string error_;
  std::unique_ptr<PxmHub> hub_;
  std::unique_ptr<Process> service_;
  std::unique_ptr<Process> agent_;
  int serviceRuns_ = 0;
  int agentRuns_ = 0;
  int shellRuns_ = 0;
};

}  // namespace kvn::e2e
