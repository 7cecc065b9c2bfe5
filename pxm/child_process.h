#pragma once
// A forked child that runs a function and exits with its result: how tests get a second
// process that uses the library. The destructor kills and reaps it, also when a test fails.

#include <sys/types.h>

#include <chrono>
#include <functional>

namespace pxm::testing {

class ChildProcess {
 public:
  explicit ChildProcess(const std::function<int()>& body);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t pid() const { return pid_; }
  // The exit code, -1 when it had not ended within `limit` or ended by a signal.
  int wait(std::chrono::milliseconds limit = std::chrono::seconds(10));
  // kill -9, and reaps it.
  void kill9();

 private:
  pid_t pid_ = -1;
};

}  // namespace pxm::testing
