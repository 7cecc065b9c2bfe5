#include "pxm/test_hub.h"

#include <ftw.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

namespace pxm::testing {

namespace {

constexpr auto kStartLimit = std::chrono::seconds(10);

bool connectable(const std::string& path) {
  const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un addr{};
  addr.sun_family = AF_UNIX;
  std::strncpy(addr.sun_path, path.c_str(), sizeof addr.sun_path - 1);
  const bool ok = ::connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0;
  ::close(fd);
  return ok;
}

int removeEntry(const char* path, const struct stat*, int, FTW*) { return ::remove(path); }

}  // namespace

TestHub::TestHub(const std::string& pxmdPath, bool start, const std::vector<std::string>& args) {
  const char* tmp = std::getenv("TMPDIR");
  std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/pxm-test.XXXXXX";
  if (!::mkdtemp(pattern.data())) return;
  dir_ = pattern + "/run";
  ::setenv("PXM_RUNDIR", dir_.c_str(), 1);
  if (!start) return;
  pid_ = ::fork();
  if (pid_ == 0) {
    std::vector<char*> argv{const_cast<char*>(pxmdPath.c_str())};
    for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    ::execv(pxmdPath.c_str(), argv.data());
    ::_exit(127);
  }
  const auto deadline = std::chrono::steady_clock::now() + kStartLimit;
  while (!connectable(socketPath())) {
    int status;
    if (::waitpid(pid_, &status, WNOHANG) == pid_ || std::chrono::steady_clock::now() > deadline) {
      pid_ = -1;
      return;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

TestHub::~TestHub() {
  if (pid_ > 0 && !stop()) {
    ::kill(pid_, SIGKILL);
    int status;
    ::waitpid(pid_, &status, 0);
  }
  if (!dir_.empty())
    ::nftw(dir_.substr(0, dir_.rfind('/')).c_str(), removeEntry, 8, FTW_DEPTH | FTW_PHYS);
}

std::string TestHub::socketPath() const { return dir_ + "/default.hub"; }

bool TestHub::stop() {
  if (pid_ <= 0) return true;
  ::kill(pid_, SIGTERM);
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  for (;;) {
    int status;
    if (::waitpid(pid_, &status, WNOHANG) == pid_) {
      pid_ = -1;
      return WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
}

}  // namespace pxm::testing
