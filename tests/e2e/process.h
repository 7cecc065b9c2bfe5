#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tests/e2e/run_dir.h"

namespace kvn::e2e {

// One child process of a test. Its standard output and error go to "<name>.out" and
// "<name>.err" in the run directory; it gets the test's environment plus PXM_RUNDIR,
// LTTNG_UST_REGISTER_TIMEOUT=0 and the given variables. The destructor kills (SIGKILL) and
// reaps it if it still runs, so a failing test leaves nothing behind.
class Process {
 public:
  using Env = std::map<std::string, std::string>;
  static constexpr std::chrono::milliseconds kDefaultDeadline{10000};

  Process(const RunDir& dir, std::string name, std::string program,
          std::vector<std::string> args = {}, Env env = {});
  // A forked copy of the test itself that runs `body` and exits with its result (99 if it
  // throws): a second user of a library without a program of its own.
  Process(const RunDir& dir, std::string name, const std::function<int()>& body);
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  pid_t pid() const { return pid_; }
  bool running();
  void signal(int signo);

  // The exit value (0..255), or 128 + signal number when a signal ended it; nothing if it still
  // runs at the deadline.
  std::optional<int> wait(std::chrono::milliseconds deadline = kDefaultDeadline);
  std::optional<int> stop(int signo, std::chrono::milliseconds deadline = kDefaultDeadline);

  std::string out() const { return dir_.read(name_ + ".out"); }
  std::string err() const { return dir_.read(name_ + ".err"); }

 private:
  // Forks with standard output and error going to the files; the child runs `body`.
  void spawn(const std::function<void()>& body);
  bool reap(bool block);

  const RunDir& dir_;
  std::string name_;
  pid_t pid_ = -1;
  std::optional<int> status_;
};

inline bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}
// How often `part` stands in `text`, overlaps counted.
inline size_t countOf(const std::string& text, const std::string& part) {
  size_t n = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
  return n;
}

// Polls `done` every 10 ms until it holds or the deadline passes; true if it held.
template <typename F>
bool eventually(F done, std::chrono::milliseconds deadline = Process::kDefaultDeadline) {
  const auto end = std::chrono::steady_clock::now() + deadline;
  for (;;) {
    if (done()) return true;
    if (std::chrono::steady_clock::now() >= end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

}  // namespace kvn::e2e
