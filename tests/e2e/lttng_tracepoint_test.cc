// A log line of the service arrives as an LTTng event with its fields, through a session daemon
// of the test's own.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "tests/e2e/exec_args.h"
#include "tests/e2e/process.h"
#include "tests/e2e/programs.h"
#include "tests/e2e/run_dir.h"

namespace kvn::e2e {
namespace {

class LttngTracepointTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (*programs::kTraceController == '\0') GTEST_SKIP() << "kvn-tracecontroller is not built";
    sessiond_ = onPath("lttng-sessiond");
    lttng_ = onPath("lttng");
    babeltrace_ = onPath("babeltrace2");
    if (sessiond_[0] != '/' || lttng_[0] != '/' || babeltrace_[0] != '/')
      GTEST_SKIP() << "lttng-sessiond, lttng or babeltrace2 is not installed";
    ::mkdir(home().c_str(), 0700);
    env_ = {{"LTTNG_HOME", home()}};
    // Under root every session daemon shares one run directory: do not disturb one that runs.
    if (lttng("probe", {"list"}, std::chrono::milliseconds(5000)) == 0)
      GTEST_SKIP() << "another LTTng session daemon already serves this user";
    daemon_ = std::make_unique<Process>(dir_, "lttng-sessiond", sessiond_,
                                        std::vector<std::string>{"--no-kernel"}, env_);
    const bool ready =
        eventually([&] { return !daemon_->running() || lttng("ready", {"list"}) == 0; });
    if (!ready || !daemon_->running())
      GTEST_SKIP() << "lttng-sessiond cannot start here: " << daemon_->err();
  }

  void TearDown() override {
    // A clean stop takes the consumer daemons down with it.
    if (daemon_) daemon_->stop(SIGTERM);
  }

  std::string home() const { return dir_.file("lttng-home"); }

  std::optional<int> lttng(const std::string& step, std::vector<std::string> args,
                           std::chrono::milliseconds deadline = Process::kDefaultDeadline) {
    Process p(dir_, "lttng-" + step, lttng_, args, env_);
    return p.wait(deadline);
  }

  RunDir dir_;
  std::string sessiond_, lttng_, babeltrace_;
  Process::Env env_;
  std::unique_ptr<Process> daemon_;
};

TEST_F(LttngTracepointTest, EnabledServiceEventsArriveWithTheirFields) {
  const std::string traceDir = dir_.file("trace");
  ASSERT_EQ(lttng("create", {"create", "kvn-e2e", "--output=" + traceDir}), 0)
      << dir_.read("lttng-create.err");
  ASSERT_EQ(lttng("enable", {"enable-event", "-u", "com_halvorne_kvn_tracectrl:*"}), 0)
      << dir_.read("lttng-enable.err");
  ASSERT_EQ(lttng("start", {"start"}), 0);

  // Without a hub the service logs its start and its failure, and ends. It waits for its
  // registration with the daemon, so that no early event is lost.
  Process service(dir_, "service", programs::kTraceController, {},
                  {{"LTTNG_HOME", home()}, {"LTTNG_UST_REGISTER_TIMEOUT", "5000"}});
  ASSERT_EQ(service.wait(), 1);

  ASSERT_EQ(lttng("stop", {"stop"}), 0);
  ASSERT_EQ(lttng("destroy", {"destroy", "kvn-e2e"}), 0);
  Process reader(dir_, "babeltrace2", babeltrace_, {traceDir});
  ASSERT_EQ(reader.wait(), 0) << reader.err();
  const std::string events = reader.out();

  // Other programs of this user may log into the same session meanwhile: only the service's
  // own events count.
  const std::string pid = "pid = " + std::to_string(service.pid()) + ",";
  std::string errorLine;
  std::istringstream lines(events);
  for (std::string line; std::getline(lines, line);) {
    if (line.find("com_halvorne_kvn_tracectrl:ERROR") != std::string::npos &&
        line.find(pid) != std::string::npos)
      errorLine = line;
  }
  ASSERT_FALSE(errorLine.empty()) << events;
  EXPECT_NE(errorLine.find("proc = \"\""), std::string::npos) << errorLine;
  EXPECT_NE(errorLine.find("fileAndLine = \"trace_controller_main.cc:"), std::string::npos)
      << errorLine;
  EXPECT_NE(
      errorLine.find("msg = \"runtime_error exception: error when calling pxm_init. ret code = "),
      std::string::npos)
      << errorLine;
  EXPECT_NE(events.find("com_halvorne_kvn_tracectrl:INFO"), std::string::npos) << events;
  EXPECT_NE(events.find("msg = \"Starting service "), std::string::npos) << events;
}

}  // namespace
}  // namespace kvn::e2e
