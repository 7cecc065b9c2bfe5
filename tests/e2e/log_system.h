#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/e2e/process.h"
#include "tests/e2e/pxm_hub.h"
#include "tests/e2e/run_dir.h"

namespace kvn::e2e {

// The whole system of the log command tests, as real processes in one run directory: the hub,
// the service, and simulated agents with containers packed by lmc-tool. Agent 1 ("MOKA", index
// 1) has the objects obj, ulScheduler and harqHandler and three utrace points; agent 2 ("MOKA",
// index 2) has obj and other. Both deploy the trace object and the utrace functions, and the
// container holds the profile "Scheduling" ("*;*;*Scheduler.trace1").
class LogSystem {
 public:
  static constexpr uint32_t kDefaultMask = 0x100013;  // check, error, info, interface

  explicit LogSystem(const RunDir& dir);

  // False (with the reason in `error()`) when a program is missing or did not come up.
  bool ok() const { return error_.empty(); }
  const std::string& error() const { return error_; }

  // Starts agent 1 or 2 with extra daxo-sim options, and waits until its initial masks are in
  // its journal.
  bool startAgent(int number, std::vector<std::string> options = {});
  Process& agent(int number) { return *agents_[number - 1]; }

  // Runs `kvnsh zorf log <args>` to its end; gives the exit status and sets `out`.
  int log(const std::vector<std::string>& args, std::string& out);
  // Starts it without waiting.
  std::unique_ptr<Process> startLog(const std::vector<std::string>& args);

  std::vector<std::string> journal(int number) const;
  // Journal lines of the agent holding `text`.
  std::vector<std::string> journalLines(int number, const std::string& text) const;

  Process& service() { return *service_; }

 private:
  const RunDir& dir_;
  std::string error_;
  std::unique_ptr<PxmHub> hub_;
  std::unique_ptr<Process> service_;
  std::unique_ptr<Process> agents_[2];
  int runs_ = 0;
};

}  // namespace kvn::e2e
