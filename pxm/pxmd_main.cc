// pxmd: the mailbox hub of one namespace. Runs in the foreground until SIGTERM or SIGINT.
// `pxmd --help` lists the options. The run directory ($PXM_RUNDIR, else the build's default)
// and the socket in it are private to the user, or shared with one group (--group). A second
// hub for the same namespace refuses to start. Under systemd, readiness and the stop are told
// through sd_notify.

#include <fcntl.h>
#include <getopt.h>
#include <malloc.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include "pxm/hub.h"
#include "pxm/peer_access.h"
#include "pxm/run_dir.h"
#include "tracing/log.h"

namespace {

void usage(FILE* out) {
  const pxm::HubLimits d;
  std::fprintf(
      out,
      "usage: pxmd [--namespace NAME] [--rundir DIR] [--group GROUP] [LIMITS...]\n"
      "  --namespace NAME      serve this namespace (default \"%s\")\n"
      "  --rundir DIR          run directory (default $PXM_RUNDIR, else %s)\n"
      "  --group GROUP         also admit the processes of this group (a name or a number):\n"
      "                        socket 0660 and run directory 0750 of that group; without\n"
      "                        it, only the hub's own user, socket 0600, directory 0700\n"
      "Limits for one process:\n"
      "  --max-monitors N      monitors set and not yet fired (default %zu)\n"
      "  --max-locates N       asynchronous locates waiting for a name (default %zu)\n"
      "  --max-queued-bytes N  bytes waiting for the process to read them (default %zu)\n"
      "Limits for the hub:\n"
      "  --memory-budget N     bytes read and not yet routed plus bytes queued, of all\n"
      "                        processes together (default %zu)\n"
      "  --max-connections N   processes attached at once (default %zu)\n"
      "  --max-connections-per-user N\n"
      "                        processes of one user attached at once (default %zu)\n"
      "  --frame-timeout S     seconds a process may stop in the middle of a frame\n"
      "                        (default %g)\n"
      "  --hello-timeout S     seconds a new connection has to say hello (default %g)\n"
      "A process that goes beyond a limit of its own is told why and cut off. When the hub\n"
      "would go beyond its memory budget, the process that holds the most of it is cut off:\n"
      "a sender with a large frame still incomplete, or a reader that does not read what\n"
      "waits for it; a process that reads its mailbox holds little and is not. When a\n"
      "process reads, but has had more than 1 MiB waiting for it for half a second (or\n"
      "reaches its own limit or the budget), the sender with the most of that is cut off\n"
      "instead, and its waiting frames dropped. A process\n"
      "beyond the connection limits, or neither of the hub's user nor of its group, is\n"
      "refused at connect with the reason. Refusals and cut-offs are logged with the pid,\n"
      "the uid and the reason, at most 20 lines in 10 s.\n",
      pxm::RunDir::kDefaultNamespace, pxm::RunDir::kDefaultDir, d.monitors, d.pendingLocates,
      d.queuedBytes, d.budgetBytes, d.connections, d.connectionsPerUser,
      static_cast<double>(d.stallTime.count()) / 1000.0,
      static_cast<double>(d.helloTime.count()) / 1000.0);
}

bool fail(const std::string& what) {
  std::fprintf(stderr, "pxmd: %s\n", what.c_str());
  CPMUTIL_LOG_ERROR("pxmd: %s", what.c_str());
  return false;
}

// Creates the directory and its missing parents, private to the user (or open to `group` for
// reading only), and refuses one that belongs to someone else.
bool prepareDirectory(const std::string& dir, std::optional<gid_t> group) {
  for (size_t pos = 1; pos <= dir.size(); ++pos) {
    if (pos != dir.size() && dir[pos] != '/') continue;
    const std::string part = dir.substr(0, pos);
    if (::mkdir(part.c_str(), 0700) != 0) {
      if (errno == EEXIST) continue;
      return fail("cannot create " + part + ": " + strerror(errno));
    }
    // A parent made here lets the group through to the run directory, as the run directory
    // itself does (which is settled below).
    if (group && pos != dir.size() &&
        (::chown(part.c_str(), static_cast<uid_t>(-1), *group) != 0 ||
         ::chmod(part.c_str(), 0750) != 0))
      return fail("cannot give " + part + " to group " + std::to_string(*group) + ": " +
                  strerror(errno));
  }
  struct stat st {};
  if (::lstat(dir.c_str(), &st) != 0) return fail("cannot stat " + dir + ": " + strerror(errno));
  if (!S_ISDIR(st.st_mode)) return fail(dir + " is not a directory");
  if (st.st_uid != ::geteuid()) return fail(dir + " belongs to another user");
  if (!group) {
    if ((st.st_mode & 077) != 0 && ::chmod(dir.c_str(), 0700) != 0)
      return fail("cannot make " + dir + " private: " + strerror(errno));
    return true;
  }
  // As a service manager makes it for the hub: the hub's user and group, 0750.
  if (st.st_gid != *group && ::chown(dir.c_str(), static_cast<uid_t>(-1), *group) != 0)
    return fail("cannot give " + dir + " to group " + std::to_string(*group) + ": " +
                strerror(errno));
  if ((st.st_mode & 07777) != 0750 && ::chmod(dir.c_str(), 0750) != 0)
    return fail("cannot make " + dir + " 0750: " + strerror(errno));
  return true;
}

// A positive number of seconds, fractions allowed.
bool parseSeconds(const char* text, std::chrono::milliseconds* out) {
  char* end = nullptr;
  errno = 0;
  const double v = std::strtod(text, &end);
  if (errno != 0 || end == text || *end != '\0' || !(v > 0) || v > 86400.0) return false;
  *out = std::chrono::milliseconds(static_cast<int64_t>(std::ceil(v * 1000.0)));
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
int listenAt(const std::string& path, std::optional<gid_t> group) {
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
  if (!bound || (group && ::chown(tmp.c_str(), static_cast<uid_t>(-1), *group) != 0) ||
      ::chmod(tmp.c_str(), group ? 0660 : 0600) != 0 || ::listen(fd, 128) != 0 ||
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
  std::string groupName;
  bool groupGiven = false;
  pxm::HubLimits limits;
  static const option options[] = {{"namespace", required_argument, nullptr, 'n'},
                                   {"rundir", required_argument, nullptr, 'd'},
                                   {"group", required_argument, nullptr, 'g'},
                                   {"max-monitors", required_argument, nullptr, 'm'},
                                   {"max-locates", required_argument, nullptr, 'l'},
                                   {"max-queued-bytes", required_argument, nullptr, 'q'},
                                   {"memory-budget", required_argument, nullptr, 'b'},
                                   {"max-connections", required_argument, nullptr, 'c'},
                                   {"max-connections-per-user", required_argument, nullptr, 'u'},
                                   {"frame-timeout", required_argument, nullptr, 'f'},
                                   {"hello-timeout", required_argument, nullptr, 'o'},
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
      case 'g':
        groupName = optarg;
        groupGiven = true;
        break;
      case 'f':
      case 'o':
        if (!parseSeconds(optarg, c == 'f' ? &limits.stallTime : &limits.helloTime)) {
          std::fprintf(stderr, "pxmd: not a number of seconds: %s\n", optarg);
          usage(stderr);
          return 2;
        }
        break;
      case 'm':
      case 'l':
      case 'q':
      case 'b':
      case 'c':
      case 'u': {
        size_t* limit = c == 'm'   ? &limits.monitors
                        : c == 'l' ? &limits.pendingLocates
                        : c == 'q' ? &limits.queuedBytes
                        : c == 'b' ? &limits.budgetBytes
                        : c == 'c' ? &limits.connections
                                   : &limits.connectionsPerUser;
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
  std::optional<gid_t> group;
  if (groupGiven) {
    group = pxm::PeerAccess::findGroup(groupName);
    if (!group) {
      fail("no such group: " + groupName);
      return 2;
    }
  }
  const pxm::PeerAccess access =
      group ? pxm::PeerAccess(::geteuid(), *group, groupName) : pxm::PeerAccess(::geteuid());
  if (!prepareDirectory(dir, group)) return 1;

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

  // Large buffers go back to the system when freed, so that the hub's memory comes back down
  // after a burst of large frames.
  ::mallopt(M_MMAP_THRESHOLD, 128 * 1024);
  ::mallopt(M_TRIM_THRESHOLD, 256 * 1024);

  const int listenFd = listenAt(socketPath, group);
  if (listenFd < 0) return 1;
  CPMUTIL_LOG_INFO("pxmd: serving namespace %s at %s",
                   pxm::RunDir::namespaceName(ns.c_str()).c_str(), socketPath.c_str());
  int rc;
  {
    pxm::Hub hub(listenFd, stopFd, limits, access);
    // Callers queue on the listening socket from here on. Without NOTIFY_SOCKET, nothing.
    sd_notify(0, "READY=1");
    rc = hub.run();
    sd_notify(0, "STOPPING=1");
  }
  ::unlink(socketPath.c_str());
  ::close(stopFd);
  ::close(lock);
  return rc;
}
