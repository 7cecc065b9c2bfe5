// pxmd: the mailbox hub of one namespace. Runs in the foreground until SIGTERM or SIGINT.
//
//   pxmd [--namespace NAME] [--rundir DIR] [--max-monitors N] [--max-locates N]
//        [--max-queued-bytes N]
//
// The run directory ($PXM_RUNDIR, default /tmp/pxm) and the socket in it are private to the
// user. A second hub for the same namespace refuses to start.

#include <fcntl.h>
#include <getopt.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "pxm/hub.h"
#include "pxm/run_dir.h"
#include "tracing/log.h"

namespace {

void usage(FILE* out) {
  std::fprintf(out,
               "usage: pxmd [--namespace NAME] [--rundir DIR] [--max-monitors N]\n"
               "            [--max-locates N] [--max-queued-bytes N]\n"
               "  --namespace NAME      serve this namespace (default \"%s\")\n"
               "  --rundir DIR          run directory (default $PXM_RUNDIR, else %s)\n"
               "  --max-monitors N      monitors one process may have pending (default %zu)\n"
               "  --max-locates N       asynchronous locates one process may have waiting\n"
               "                        (default %zu)\n"
               "  --max-queued-bytes N  bytes that may wait for a process that does not read\n"
               "                        them (default %zu)\n"
               "A process that goes beyond a limit is told so and cut off.\n",
               pxm::RunDir::kDefaultNamespace, pxm::RunDir::kDefaultDir, pxm::HubLimits().monitors,
               pxm::HubLimits().pendingLocates, pxm::HubLimits().queuedBytes);
}

bool fail(const std::string& what) {
  std::fprintf(stderr, "pxmd: %s\n", what.c_str());
  CPMUTIL_LOG_ERROR("pxmd: %s", what.c_str());
  return false;
}

// Creates the directory and its missing parents, private to the user, and refuses one that
// belongs to someone else.
bool prepareDirectory(const std::string& dir) {
  for (size_t pos = 1; pos <= dir.size(); ++pos) {
    if (pos != dir.size() && dir[pos] != '/') continue;
    const std::string part = dir.substr(0, pos);
    if (::mkdir(part.c_str(), 0700) != 0 && errno != EEXIST)
      return fail("cannot create " + part + ": " + strerror(errno));
  }
  struct stat st {};
  if (::lstat(dir.c_str(), &st) != 0) return fail("cannot stat " + dir + ": " + strerror(errno));
  if (!S_ISDIR(st.st_mode)) return fail(dir + " is not a directory");
  if (st.st_uid != ::geteuid()) return fail(dir + " belongs to another user");
  if ((st.st_mode & 077) != 0 && ::chmod(dir.c_str(), 0700) != 0)
    return fail("cannot make " + dir + " private: " + strerror(errno));
  return true;
}

// A positive whole number, all of the text.
bool parseCount(const char* text, size_t* out) {
  char* end = nullptr;
  errno = 0;
  const unsigned long long v = std::strtoull(text, &end, 10);
  if (errno != 0 || end == text || *end != '\0' || v == 0 || text[0] == '-') return false;
  *out = static_cast<size_t>(v);
  return true;
}

bool bindTo(int fd, const std::string& path) {
  sockaddr_un addr{};
  addr.sun_family = AF_UNIX;
  std::memcpy(addr.sun_path, path.c_str(), path.size() + 1);
  return ::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0;
}

// Binds under a temporary name and renames into place once listening, so that the socket
// path exists only when the hub takes callers.
int listenAt(const std::string& path) {
  const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (fd < 0) {
    fail(std::string("socket: ") + strerror(errno));
    return -1;
  }
  std::string tmp = path + ".new";
  if (tmp.size() >= sizeof(sockaddr_un{}.sun_path)) tmp = path;
  ::unlink(tmp.c_str());
  ::unlink(path.c_str());
  const mode_t old = ::umask(077);
  const bool bound = bindTo(fd, tmp);
  ::umask(old);
  if (!bound || ::chmod(tmp.c_str(), 0600) != 0 || ::listen(fd, 128) != 0 ||
      (tmp != path && ::rename(tmp.c_str(), path.c_str()) != 0)) {
    fail("cannot listen at " + path + ": " + strerror(errno));
    ::unlink(tmp.c_str());
    ::close(fd);
    return -1;
  }
  return fd;
}

}  // namespace

int main(int argc, char** argv) {
  kvnCpmUtilTraceProcField = "pxmd";
  std::string ns;
  std::string dir = pxm::RunDir::directory();
  pxm::HubLimits limits;
  static const option options[] = {{"namespace", required_argument, nullptr, 'n'},
                                   {"rundir", required_argument, nullptr, 'd'},
                                   {"max-monitors", required_argument, nullptr, 'm'},
                                   {"max-locates", required_argument, nullptr, 'l'},
                                   {"max-queued-bytes", required_argument, nullptr, 'q'},
                                   {"help", no_argument, nullptr, 'h'},
                                   {nullptr, 0, nullptr, 0}};
  for (int c; (c = ::getopt_long(argc, argv, "n:d:h", options, nullptr)) != -1;) {
    switch (c) {
      case 'n':
        ns = optarg;
        break;
      case 'd':
        dir = optarg;
        break;
      case 'm':
      case 'l':
      case 'q': {
        size_t* limit = c == 'm'   ? &limits.monitors
                        : c == 'l' ? &limits.pendingLocates
                                   : &limits.queuedBytes;
        if (!parseCount(optarg, limit)) {
          std::fprintf(stderr, "pxmd: not a positive number: %s\n", optarg);
          usage(stderr);
          return 2;
        }
        break;
      }
      case 'h':
        usage(stdout);
        return 0;
      default:
        usage(stderr);
        return 2;
    }
  }
  if (optind != argc || !pxm::RunDir::validNamespace(ns.c_str()) || dir.empty()) {
    usage(stderr);
    return 2;
  }
  while (dir.size() > 1 && dir.back() == '/') dir.pop_back();
  const std::string socketPath = pxm::RunDir::socketPath(dir, ns.c_str());
  if (socketPath.empty()) {
    fail("run directory path too long: " + dir);
    return 1;
  }
  if (!prepareDirectory(dir)) return 1;

  // The lock decides which hub serves the namespace; the socket of a dead one is stale.
  const std::string lockPath = pxm::RunDir::lockPath(dir, ns.c_str());
  const int lock = ::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (lock < 0) {
    fail("cannot open " + lockPath + ": " + strerror(errno));
    return 1;
  }
  if (::flock(lock, LOCK_EX | LOCK_NB) != 0) {
    fail("a hub already serves namespace " + pxm::RunDir::namespaceName(ns.c_str()) + " in " + dir);
    return 1;
  }

  sigset_t stopSignals;
  sigemptyset(&stopSignals);
  sigaddset(&stopSignals, SIGTERM);
  sigaddset(&stopSignals, SIGINT);
  ::sigprocmask(SIG_BLOCK, &stopSignals, nullptr);
  ::signal(SIGPIPE, SIG_IGN);
  const int stopFd = ::signalfd(-1, &stopSignals, SFD_NONBLOCK | SFD_CLOEXEC);
  if (stopFd < 0) {
    fail(std::string("signalfd: ") + strerror(errno));
    return 1;
  }

  const int listenFd = listenAt(socketPath);
  if (listenFd < 0) return 1;
  CPMUTIL_LOG_INFO("pxmd: serving namespace %s at %s",
                   pxm::RunDir::namespaceName(ns.c_str()).c_str(), socketPath.c_str());
  int rc;
  {
    pxm::Hub hub(listenFd, stopFd, limits);
    rc = hub.run();
  }
  ::unlink(socketPath.c_str());
  ::close(stopFd);
  ::close(lock);
  return rc;
}
