#include "tests/e2e/kvnsh_terminal.h"
#include "tests/e2e/exec_args.h"

#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <stdexcept>

namespace kvn::e2e {

KvnshTerminal::KvnshTerminal(const RunDir& dir, const std::string& program,
                             std::vector<std::string> args, Process::Env env) {
  env["PXM_RUNDIR"] = dir.pxmRunDir();
  env.emplace("HOME", dir.path());
  env.emplace("TERM", "vt100");
  env.emplace("LTTNG_UST_REGISTER_TIMEOUT", "0");
  ExecArgs exec(program, std::move(args), env);

  struct winsize size {};
  size.ws_row = 24;
  size.ws_col = 200;
  pid_ = ::forkpty(&master_, nullptr, nullptr, &size);
  if (pid_ == 0) {
    ::execve(exec.path(), exec.argv(), exec.envp());
    ::_exit(127);
  }
  if (pid_ < 0) throw std::runtime_error("forkpty failed");
}

KvnshTerminal::~KvnshTerminal() {
  if (pid_ > 0 && !status_) {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
  if (master_ >= 0) ::close(master_);
}

void KvnshTerminal::type(const std::string& keys) {
  // A few keys: the terminal's buffer takes them in one write.
  if (::write(master_, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size()))
    throw std::runtime_error("the terminal did not take the keys");
}

void KvnshTerminal::drain(int timeoutMs) {
  struct pollfd pfd = {master_, POLLIN, 0};
  if (::poll(&pfd, 1, timeoutMs) <= 0) return;
  char buf[4096];
  const ssize_t n = ::read(master_, buf, sizeof buf);
  if (n > 0) screen_.append(buf, static_cast<size_t>(n));
}

bool KvnshTerminal::waitFor(const std::string& text, std::chrono::milliseconds deadline) {
  return eventually(
      [&] {
        drain(0);
        const size_t at = screen_.find(text, seen_);
        if (at == std::string::npos) return false;
        seen_ = at + text.size();
        return true;
      },
      deadline);
}

bool KvnshTerminal::waitForLineEditor(std::chrono::milliseconds deadline) {
  return eventually(
      [this] {
        drain(0);
        termios mode{};
        return ::tcgetattr(master_, &mode) == 0 && (mode.c_lflag & ICANON) == 0;
      },
      deadline);
}

std::optional<int> KvnshTerminal::wait(std::chrono::milliseconds deadline) {
  eventually(
      [this] {
        int status = 0;
        if (!status_ && ::waitpid(pid_, &status, WNOHANG) == pid_)
          status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        drain(0);  // keep the terminal's buffer from filling up
        return status_.has_value();
      },
      deadline);
  return status_;
}

}  // namespace kvn::e2e
