#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "tests/e2e/process.h"
#include "tests/e2e/run_dir.h"

namespace kvn::e2e {

// kvnsh (or any program) on a pseudo-terminal, for tests of the interactive prompt: the test
// types into it and reads what it shows. The child gets the test's environment plus
// PXM_RUNDIR, HOME (the run directory, for the history file), TERM and the given variables.
// The destructor kills and reaps it if it still runs.
class KvnshTerminal {
 public:
  KvnshTerminal(const RunDir& dir, const std::string& program, std::vector<std::string> args = {},
                Process::Env env = {});
  ~KvnshTerminal();
  KvnshTerminal(const KvnshTerminal&) = delete;
  KvnshTerminal& operator=(const KvnshTerminal&) = delete;

  void type(const std::string& keys);
  // Reads what the terminal shows until `text` has appeared after the position of the last
  // successful wait; true if it did within the deadline.
  bool waitFor(const std::string& text,
               std::chrono::milliseconds deadline = Process::kDefaultDeadline);
  // Waits until the line editor holds the terminal (canonical input off): keys typed before
  // that are taken by the terminal's own line discipline, where a Ctrl-D is no end of input.
  bool waitForLineEditor(std::chrono::milliseconds deadline = Process::kDefaultDeadline);
  // Everything shown so far.
  const std::string& screen() const { return screen_; }
  // The exit value, or 128 + signal; nothing if it still runs at the deadline.
  std::optional<int> wait(std::chrono::milliseconds deadline = Process::kDefaultDeadline);

 private:
  void drain(int timeoutMs);

  int master_ = -1;
  pid_t pid_ = -1;
  std::string screen_;
  size_t seen_ = 0;
  std::optional<int> status_;
};

}  // namespace kvn::e2e
