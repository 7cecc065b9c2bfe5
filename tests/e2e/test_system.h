#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/e2e/process.h"
#include "tests/e2e/pxm_hub.h"
#include "tests/e2e/run_dir.h"

namespace kvn::e2e {

// The whole system as real processes in one run directory: the hub, the service (which can be
// stopped and started again), simulated agents 1 to 5 (each can be killed and started again) and
// kvnsh for each command. The agents' container is packed by lmc-tool: module dsp1 has the
// objects obj, ulScheduler and harqHandler (formats "obj %d", "ulScheduler: ue %d prb %d",
// "harqHandler: process %d"), the utrace points ulScheduler.grant (id 1, off by
// default), ulScheduler.alloc (id 2, on) and harqHandler.retx (id 3, off), and the trace strings
// "boot done", "grant for ue %d: %d prbs" and "alloc of %u bytes"; module dsp2 has obj and
// other; the profile "Scheduling" is "*;*;*Scheduler.trace1". Agent n is "MOKA" with index n,
// connect version 3, on dsp2 when n is 2 and dsp1 otherwise, and deploys the trace object and
// utrace functions.
// The service keeps its saved states in `stateDir()`.
class TestSystem {
 public:
  static constexpr uint32_t kDefaultMask = 0x100013;  // check, error, info, interface

  // The service logs to its standard error from `serviceLog` up (debug, info or error).
  explicit TestSystem(const RunDir& dir, std::string serviceLog = "debug");

  // False (with the reason in `error()`) when a program is missing or did not come up.
  bool ok() const { return error_.empty(); }
  const std::string& error() const { return error_; }

  PxmHub& hub() { return *hub_; }
  bool startService(std::vector<std::string> options = {});
  Process& service() { return *service_; }
  // The routine table's used slots, as the service logs them on SIGUSR1 (its log must reach
  // info); -1 if no answer came.
  int usedSlots();
  // The used slots once two readings in a row agree: what the peers' start-up set going (the
  // agents' initial requests waiting for their confirms) has ended. -1 if it never settles.
  int settledSlots();

  // The description of agent `number`, with `moreRoutines` (JSON objects, comma-separated)
  // after its two routines and `moreFields` (JSON members) after the routines; written to
  // `agentFile(number)`, which startAgent reads.
  void describeAgent(int number, const std::string& moreRoutines,
                     const std::string& moreFields = "");
  std::string agentFile(int number) const;
  std::string containerFile() const { return dir_.file("agents.lmc"); }

  // Starts the agent with a fresh journal and extra daxo-sim options, and waits until its
  // initial masks are in the journal.
  bool startAgent(int number, std::vector<std::string> options = {});
  Process& agent(int number) { return *agents_[number - 1]; }

  // Runs `kvnsh <words>` to its end; gives the exit status and sets `out`.
  int shell(const std::vector<std::string>& words, std::string& out);
  // Starts it without waiting.
  std::unique_ptr<Process> startShell(const std::vector<std::string>& words);

  // The lines of the journal of the agent's current run that hold `text` (all for "").
  std::vector<std::string> journalLines(int number, const std::string& text) const;

  std::string stateDir() const { return dir_.file("state"); }
  std::string stateFile() const { return stateDir() + "/savedTraceGroupsAndProfilesTC2_MOKA-1"; }

 private:
  static constexpr int kAgents = 5;

  std::string journalName(int number) const;

  const RunDir& dir_;
  std::string serviceLog_;
  std::string error_;
  std::unique_ptr<PxmHub> hub_;
  std::unique_ptr<Process> service_;
  std::unique_ptr<Process> agents_[kAgents];
  int agentRuns_[kAgents] = {};
  int serviceRuns_ = 0;
  // What usedSlots has read of the current service's standard error: up to where, how many
  // usage lines and the last figure.
  void readSlotLines();
  size_t slotsSeen_ = 0;
  int slotLines_ = 0;
  int lastSlots_ = -1;
  int shellRuns_ = 0;
};

}  // namespace kvn::e2e
