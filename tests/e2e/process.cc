#include "tests/e2e/process.h"
#include "tests/e2e/exec_args.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace kvn::e2e {

Process::Process(const RunDir& dir, std::string name, std::string program,
                 std::vector<std::string> args, Env env)
    : dir_(dir), name_(std::move(name)) {
  env["PXM_RUNDIR"] = dir.pxmRunDir();
  env.emplace("LTTNG_UST_REGISTER_TIMEOUT", "0");
  ExecArgs exec(program, std::move(args), env);
  spawn([&exec] { ::execve(exec.path(), exec.argv(), exec.envp()); });
}

Process::Process(const RunDir& dir, std::string name, const std::function<int()>& body)
    : dir_(dir), name_(std::move(name)) {
  spawn([&body] {
    int rc = 99;
    try {
      rc = body();
    } catch (...) {
    }
    ::_exit(rc);
  });
}

void Process::spawn(const std::function<void()>& body) {
  const std::string outPath = dir_.file(name_ + ".out");
  const std::string errPath = dir_.file(name_ + ".err");
  const int out = ::open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  const int err = ::open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (out < 0 || err < 0) throw std::runtime_error("cannot open the output files of " + name_);

  pid_ = ::fork();
  if (pid_ == 0) {
    const int null = ::open("/dev/null", O_RDONLY);
    ::dup2(null, 0);
    ::dup2(out, 1);
    ::dup2(err, 2);
    body();
    ::_exit(127);
  }
  ::close(out);
  ::close(err);
  if (pid_ < 0) throw std::runtime_error("fork failed for " + name_);
}

Process::~Process() {
  if (pid_ > 0 && !status_) {
    ::kill(pid_, SIGKILL);
    reap(true);
  }
}

bool Process::reap(bool block) {
  if (status_) return true;
  int status = 0;
  const pid_t r = ::waitpid(pid_, &status, block ? 0 : WNOHANG);
  if (r != pid_) return false;
  status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return true;
}

bool Process::running() { return !reap(false); }

void Process::signal(int signo) {
  if (!status_) ::kill(pid_, signo);
}

std::optional<int> Process::wait(std::chrono::milliseconds deadline) {
  eventually([this] { return reap(false); }, deadline);
  return status_;
}

std::optional<int> Process::stop(int signo, std::chrono::milliseconds deadline) {
  signal(signo);
  return wait(deadline);
}

}  // namespace kvn::e2e
