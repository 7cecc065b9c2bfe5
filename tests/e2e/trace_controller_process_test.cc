// kvn-tracecontroller as a process: start-up, options, stop.
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <string>

#include "tests/e2e/process.h"
#include "tests/e2e/programs.h"
#include "tests/e2e/pxm_hub.h"
#include "tests/e2e/run_dir.h"

namespace kvn::e2e {
namespace {

const Process::Env kDebugLog = {{"KVN_LOG_STDERR", "debug"}};
const Process::Env kErrorLog = {{"KVN_LOG_STDERR", "error"}};

class TraceControllerProcessTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (*programs::kTraceController == '\0') GTEST_SKIP() << "kvn-tracecontroller is not built";
  }
  std::unique_ptr<Process> service(const std::string& name, std::vector<std::string> args = {},
                                   Process::Env env = kDebugLog) {
    return std::make_unique<Process>(dir_, name, programs::kTraceController, args, env);
  }
  // True once the service has entered its main loop.
  static bool upAndRunning(Process& p) {
    return eventually([&] { return contains(p.err(), "Mainloop starting") || !p.running(); }) &&
           p.running();
  }

  RunDir dir_;
};

// The options' texts have their own test; here, what main makes of them.
TEST_F(TraceControllerProcessTest, BadOptionsExitWith255AndNoHubWith1) {
  auto bad = service("bad", {"--verbose"}, kErrorLog);
  EXPECT_EQ(bad->wait(), 255);
  EXPECT_TRUE(contains(bad->err(), "--verbose: unknown option")) << bad->err();
  auto p = service("nohub", {}, kErrorLog);
  EXPECT_EQ(p->wait(), 1);
  EXPECT_TRUE(
      contains(p->err(), "runtime_error exception: error when calling pxm_init. ret code = "))
      << p->err();
}

// What a supervisor of the service hears on its notification socket.
class NotifySocket {
 public:
  explicit NotifySocket(const std::string& path) {
    fd_ = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un addr{};
    addr.sun_family = AF_UNIX;
    path.copy(addr.sun_path, sizeof(addr.sun_path) - 1);
    bound_ = ::bind(fd_, reinterpret_cast<sockaddr*>(&addr), sizeof(addr)) == 0;
  }
  ~NotifySocket() { ::close(fd_); }
  bool ok() const { return bound_; }
  // The next datagram, or "" when none comes within 10 s.
  std::string next() {
    pollfd p{fd_, POLLIN, 0};
    if (::poll(&p, 1, 10000) != 1) return "";
    char buf[256];
    const ssize_t n = ::recv(fd_, buf, sizeof(buf), 0);
    return n > 0 ? std::string(buf, static_cast<size_t>(n)) : "";
  }

 private:
  int fd_ = -1;
  bool bound_ = false;
};

// The service with a supervisor: it says it is ready once its name is published, a second one
// of the same mailbox name fails cleanly, and a stop signal ends it with 0.
TEST_F(TraceControllerProcessTest, ReadyOnceItsNameIsPublishedAloneWithItsNameAndEndsWith0) {
  if (*programs::kPxmd == '\0') GTEST_SKIP() << "the mailbox hub is not built in this tree";
  PxmHub hub(dir_);
  ASSERT_TRUE(hub.ok()) << "pxmd did not come up: " << hub.process().err();
  NotifySocket notify(dir_.file("notify"));
  ASSERT_TRUE(notify.ok());
  auto first =
      service("first", {}, {{"NOTIFY_SOCKET", dir_.file("notify")}, {"KVN_LOG_STDERR", "debug"}});
  ASSERT_EQ(notify.next(), "READY=1") << first->err();
  // Ready means that a caller finds the service by its name at once.
  Process lookup(dir_, "lookup", programs::kPxmNs, {"lookup", "kvn-tracecontroller"});
  EXPECT_EQ(lookup.wait(), 0);
  EXPECT_TRUE(contains(lookup.out(), "kvn-tracecontroller")) << lookup.out();
  ASSERT_TRUE(upAndRunning(*first)) << first->err();
  EXPECT_TRUE(contains(first->err(), "Starting service '")) << first->err();

  auto second = service("second", {}, kErrorLog);
  EXPECT_EQ(second->wait(), 1);
  EXPECT_TRUE(contains(second->err(),
                       "runtime_error exception: pxm_create_mailbox(kvn-tracecontroller) failed."))
      << second->err();
  // The name is what clashes: another name runs beside the first.
  auto other = service("other", {"--mailboxname", "kvn-tracecontroller-2"});
  ASSERT_TRUE(upAndRunning(*other)) << other->err();
  EXPECT_EQ(other->stop(SIGINT), 0);

  first->signal(SIGHUP);
  EXPECT_EQ(notify.next(), "STOPPING=1");
  EXPECT_EQ(first->wait(), 0);
  EXPECT_FALSE(contains(first->err(), "ERROR")) << first->err();
}

}  // namespace
}  // namespace kvn::e2e
