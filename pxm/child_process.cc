#include "pxm/child_process.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>

namespace pxm::testing {

ChildProcess::ChildProcess(const std::function<int()>& body) {
  pid_ = ::fork();
  if (pid_ == 0) {
    int rc = 99;
    try {
      rc = body();
    } catch (...) {
    }
    ::_exit(rc);
  }
}

ChildProcess::~ChildProcess() { kill9(); }

int ChildProcess::wait(std::chrono::milliseconds limit) {
  if (pid_ <= 0) return -1;
  const auto deadline = std::chrono::steady_clock::now() + limit;
  for (;;) {
    int status = 0;
    const pid_t r = ::waitpid(pid_, &status, WNOHANG);
    if (r == pid_) {
      pid_ = -1;
      return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    if (r < 0 || std::chrono::steady_clock::now() >= deadline) return -1;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
}

void ChildProcess::kill9() {
  if (pid_ <= 0) return;
  ::kill(pid_, SIGKILL);
  int status;
  ::waitpid(pid_, &status, 0);
  pid_ = -1;
}

}  // namespace pxm::testing
