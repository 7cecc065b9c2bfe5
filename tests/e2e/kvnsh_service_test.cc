// kvnsh against the real service, as processes of the test system.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/e2e/kvnsh_terminal.h"
#include "tests/e2e/process.h"
#include "tests/e2e/programs.h"
#include "tests/e2e/test_system.h"

namespace kvn::e2e {
namespace {

class KvnshServiceTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(system_.ok()) << system_.error(); }

  // Runs one command to its end through `program` (kvnsh or one of its links).
  int run(const std::string& program, std::vector<std::string> args) {
    shell_ = std::make_unique<Process>(dir_, "kvnsh" + std::to_string(++runs_), program, args);
    return shell_->wait().value_or(-1);  // -1: it did not end
  }
  std::string link(const std::string& name) const {
    const std::string kvnsh = programs::kKvnsh;
    return kvnsh.substr(0, kvnsh.rfind('/') + 1) + name;
  }

  RunDir dir_;
  TestSystem system_{dir_};
  std::unique_ptr<Process> shell_;
  int runs_ = 0;
};

TEST_F(KvnshServiceTest, UsageHelpUnknownSubcommandAndRefusedRoot) {
  EXPECT_EQ(run(link("zoth"), {}), 1);
  EXPECT_EQ(shell_->out().rfind("zoth needs a subcommand.\n\nInfo:\n", 0), 0u) << shell_->out();

  EXPECT_EQ(run(link("zoth"), {"nosuch"}), 2);
  EXPECT_TRUE(contains(shell_->out(), "No such subcommand. 'nosuch'\n")) << shell_->out();

  EXPECT_EQ(run(link("zorf"), {"--help"}), 104);  // refused: not implemented
  EXPECT_TRUE(contains(shell_->err(), "command not implemented (reason 2)")) << shell_->err();
  EXPECT_EQ(shell_->out(), "");

  // The shell's own statuses: 102 for no such service, 101 for no hub.
  EXPECT_EQ(run(programs::kKvnsh, {"--service", "nobody", "zoth", "info"}), 102);
  EXPECT_TRUE(contains(shell_->err(), "no service \"nobody\" on the mailbox hub")) << shell_->err();
  EXPECT_EQ(run(programs::kKvnsh, {"--namespace", "elsewhere", "zoth", "info"}), 101);

  // Every command was closed: the service is still there for the next.
  EXPECT_TRUE(system_.service().running());
  EXPECT_FALSE(contains(system_.service().err(), "ERROR")) << system_.service().err();
}

// Ctrl-C aborts the command that waits on an agent, not the shell; the line is kept in the
// history, and Ctrl-D at an empty line ends the shell with the last command's status.
TEST_F(KvnshServiceTest, AtATerminalCtrlCAbortsTheWaitingCommandAndADumpIsRefused) {
  ASSERT_TRUE(system_.startAgent(1, {"--drop-confirms"})) << system_.agent(1).err();
  KvnshTerminal term(dir_, programs::kKvnsh);
  ASSERT_TRUE(term.waitFor("kvnsh> ")) << term.screen();
  term.type("zorf log enable 1 obj trace1\r");
  ASSERT_TRUE(eventually([&] {
    return contains(system_.service().err(), "cmdLine=zorf log enable 1 obj trace1");
  })) << system_.service().err();
  term.type("\x03");
  ASSERT_TRUE(eventually([&] { return contains(system_.service().err(), " retVal=1"); }))
      << system_.service().err();
  ASSERT_TRUE(term.waitFor("kvnsh> ")) << term.screen();
  ASSERT_TRUE(term.waitForLineEditor()) << term.screen();
  term.type("\x04");
  EXPECT_EQ(term.wait(), 1) << term.screen();
  EXPECT_TRUE(contains(dir_.read(".kvnsh_history"), "trace1")) << dir_.read(".kvnsh_history");
  EXPECT_TRUE(system_.service().running());

  // A dump is never poured into a terminal.
  KvnshTerminal dump(dir_, programs::kKvnsh, {"zoth", "recorder", "dump", "1:lpp"});
  EXPECT_EQ(dump.wait(), 100) << dump.screen();
  EXPECT_TRUE(contains(dump.screen(), "use --output FILE or --base64")) << dump.screen();
}

}  // namespace
}  // namespace kvn::e2e
