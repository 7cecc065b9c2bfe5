// kvnsh against the real service: pxmd, kvn-tracecontroller and kvnsh as processes.
#include <gtest/gtest.h>
#include <signal.h>

#include <memory>
#include <string>

#include "tests/e2e/kvnsh_terminal.h"
#include "tests/e2e/process.h"
#include "tests/e2e/programs.h"
#include "tests/e2e/pxm_hub.h"
#include "tests/e2e/run_dir.h"

namespace kvn::e2e {
namespace {

// The shell's status for a command the service refuses as not implemented.
constexpr int kRefusedNotImplemented = 104;

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

std::string binDirOf(const std::string& program) { return program.substr(0, program.rfind('/')); }

class KvnshServiceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (*programs::kPxmd == '\0' || *programs::kTraceController == '\0' ||
        *programs::kKvnsh == '\0')
      GTEST_SKIP() << "pxmd, kvn-tracecontroller and kvnsh are not all built";
    hub_ = std::make_unique<PxmHub>(dir_);
    ASSERT_TRUE(hub_->ok()) << "pxmd did not come up: " << hub_->process().err();
    service_ = std::make_unique<Process>(dir_, "service", programs::kTraceController,
                                         std::vector<std::string>{},
                                         Process::Env{{"KVN_LOG_STDERR", "debug"}});
    ASSERT_TRUE(eventually(
        [&] { return contains(service_->err(), "Mainloop starting") || !service_->running(); }));
    ASSERT_TRUE(service_->running()) << service_->err();
  }

  // Runs one command to its end through `program` (kvnsh or one of its links).
  int run(const std::string& program, std::vector<std::string> args) {
    shell_ = std::make_unique<Process>(dir_, "kvnsh" + std::to_string(++runs_), program, args);
    const std::optional<int> status = shell_->wait();
    EXPECT_TRUE(status.has_value()) << "kvnsh did not end";
    return status.value_or(-1);
  }
  std::string link(const std::string& name) const {
    return binDirOf(programs::kKvnsh) + "/" + name;
  }

  RunDir dir_;
  std::unique_ptr<PxmHub> hub_;
  std::unique_ptr<Process> service_;
  std::unique_ptr<Process> shell_;
  int runs_ = 0;
};

TEST_F(KvnshServiceTest, RootWithoutSubcommandGivesItsUsageAndResult1) {
  EXPECT_EQ(run(link("zoth"), {}), 1);
  const std::string out = shell_->out();
  EXPECT_EQ(out.rfind("zoth needs a subcommand.\n\nInfo:\n", 0), 0u) << out;
  EXPECT_TRUE(contains(out, "Syntax:\n  zoth [--help] [@<YLM Name>] <subcmd>\n")) << out;
  EXPECT_TRUE(contains(out, "the default controller.\n")) << out;
  EXPECT_EQ(shell_->err(), "");
}

TEST_F(KvnshServiceTest, HelpUnknownSubcommandAndRefusedRoot) {
  EXPECT_EQ(run(programs::kKvnsh, {"zoth", "-h"}), 0);
  EXPECT_TRUE(contains(shell_->out(), "Syntax:\n")) << shell_->out();

  EXPECT_EQ(run(link("zoth"), {"nosuch"}), 2);
  EXPECT_TRUE(contains(shell_->out(), "No such subcommand. 'nosuch'\n")) << shell_->out();

  EXPECT_EQ(run(link("zorf"), {"--help"}), kRefusedNotImplemented);
  EXPECT_TRUE(contains(shell_->err(), "command not implemented (reason 2)")) << shell_->err();
  EXPECT_EQ(shell_->out(), "");

  // Every command was closed: the service is still there for the next.
  EXPECT_TRUE(service_->running());
  EXPECT_FALSE(contains(service_->err(), "ERROR")) << service_->err();
}

TEST_F(KvnshServiceTest, PromptRunsTwoCommands) {
  KvnshTerminal term(dir_, programs::kKvnsh);
  ASSERT_TRUE(term.waitFor("kvnsh> ")) << term.screen();
  term.type("zoth -h\r");
  ASSERT_TRUE(term.waitFor("Syntax:")) << term.screen();
  ASSERT_TRUE(term.waitFor("kvnsh> ")) << term.screen();
  term.type("zoth 'no such'\r");
  ASSERT_TRUE(term.waitFor("No such subcommand. 'no such'")) << term.screen();
  ASSERT_TRUE(term.waitFor("kvnsh> ")) << term.screen();
  term.type("exit\r");
  EXPECT_EQ(term.wait(), 2) << term.screen();  // the status of the last command
}

TEST_F(KvnshServiceTest, ADumpIsNeverPouredIntoATerminal) {
  KvnshTerminal term(dir_, programs::kKvnsh, {"zoth", "recorder", "dump", "1:lpp"});
  EXPECT_EQ(term.wait(), 100) << term.screen();
  EXPECT_TRUE(contains(term.screen(), "use --output FILE or --base64")) << term.screen();
}

}  // namespace
}  // namespace kvn::e2e
