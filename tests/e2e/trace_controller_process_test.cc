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

class TraceControllerWithHubTest : public TraceControllerProcessTest {
 protected:
  void SetUp() override {
    TraceControllerProcessTest::SetUp();
    if (IsSkipped()) return;
    if (*programs::kPxmd == '\0') GTEST_SKIP() << "the mailbox hub is not built in this tree";
    hub_ = std::make_unique<PxmHub>(dir_);
    ASSERT_TRUE(hub_->ok()) << "pxmd did not come up: " << hub_->process().err();
  }

  std::unique_ptr<PxmHub> hub_;
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

TEST_F(TraceControllerWithHubTest, RunsUntilSigtermAndThenExitsWith0) {
  auto p = service("service");
  ASSERT_TRUE(upAndRunning(*p)) << p->err();
  EXPECT_TRUE(contains(p->err(), "Starting service '")) << p->err();
  EXPECT_EQ(p->stop(SIGTERM), 0);
  EXPECT_FALSE(contains(p->err(), "ERROR")) << p->err();
}

TEST_F(TraceControllerWithHubTest, SecondServiceWithTheSameMailboxNameFailsCleanly) {
  auto first = service("first");
  ASSERT_TRUE(upAndRunning(*first)) << first->err();

  auto second = service("second", {}, kErrorLog);
  EXPECT_EQ(second->wait(), 1);
  EXPECT_TRUE(contains(second->err(),
                       "runtime_error exception: pxm_create_mailbox(kvn-tracecontroller) failed."))
      << second->err();

  // The name is what clashes: another name runs beside the first.
  auto other = service("other", {"--mailboxname", "kvn-tracecontroller-2"});
  ASSERT_TRUE(upAndRunning(*other)) << other->err();
  EXPECT_TRUE(first->running());
  EXPECT_EQ(other->stop(SIGINT), 0);
  EXPECT_EQ(first->stop(SIGHUP), 0);
}

// What a supervisor of the service hears on its notification socket.
class NotifySocket {
 public:
  explicit NotifySocket(const std::string& path) : path_(path) {
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
  std::string path_;
  int fd_ = -1;
  bool bound_ = false;
};

TEST_F(TraceControllerWithHubTest, TellsItsSupervisorItIsReadyOnceItsNameIsPublished) {
  NotifySocket notify(dir_.file("notify"));
  ASSERT_TRUE(notify.ok());
  auto p = service("service", {}, {{"NOTIFY_SOCKET", dir_.file("notify")}});
  ASSERT_EQ(notify.next(), "READY=1") << p->err();
  // Ready means that a caller finds the service by its name at once.
  Process lookup(dir_, "lookup", programs::kPxmNs, {"lookup", "kvn-tracecontroller"});
  EXPECT_EQ(lookup.wait(), 0);
  EXPECT_TRUE(contains(lookup.out(), "kvn-tracecontroller")) << lookup.out();
  p->signal(SIGTERM);
  EXPECT_EQ(notify.next(), "STOPPING=1");
  EXPECT_EQ(p->wait(), 0);
}

}  // namespace
}  // namespace kvn::e2e
