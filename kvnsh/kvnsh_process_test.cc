// kvnsh as a process against the mailbox hub and a scripted fake of the service.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <memory>
#include <string>

#include "kvnsh/exit_status.h"
#include "tests/e2e/kvnsh_terminal.h"
#include "tests/e2e/process.h"
#include "tests/e2e/programs.h"
#include "tests/e2e/pxm_hub.h"
#include "tests/e2e/run_dir.h"

namespace kvnsh {
namespace {

using kvn::e2e::eventually;
using kvn::e2e::KvnshTerminal;
using kvn::e2e::Process;
using ::testing::HasSubstr;

const std::string kKvnsh = KVNSH_BIN_DIR "/kvnsh";
const std::string kFake = KVNSH_FAKE_SERVICE;

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

class KvnshProcessTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (*kvn::e2e::programs::kPxmd == '\0') GTEST_SKIP() << "the mailbox hub is not built";
    hub_ = std::make_unique<kvn::e2e::PxmHub>(dir_);
    ASSERT_TRUE(hub_->ok()) << "pxmd did not come up: " << hub_->process().err();
    service_ = std::make_unique<Process>(dir_, "service", kFake);
    ASSERT_TRUE(eventually([&] { return contains(service_->out(), "ready\n"); }))
        << service_->err();
  }

  // Runs one command to its end; its standard output and error are then in out() and err().
  int run(std::vector<std::string> args, const std::string& program = kKvnsh) {
    shell_ = std::make_unique<Process>(dir_, "kvnsh" + std::to_string(++runs_), program, args);
    const std::optional<int> status = shell_->wait();
    EXPECT_TRUE(status.has_value()) << "kvnsh did not end";
    return status.value_or(-1);
  }
  std::string journal() const { return service_->out(); }
  // True once the fake service has written `line` to its journal.
  bool journalHas(const std::string& line) const {
    return eventually([&] { return contains(journal(), line); });
  }

  kvn::e2e::RunDir dir_;
  std::unique_ptr<kvn::e2e::PxmHub> hub_;
  std::unique_ptr<Process> service_;
  std::unique_ptr<Process> shell_;
  int runs_ = 0;
};

TEST_F(KvnshProcessTest, PrintsChunksConfirmsEachAndClosesWithTheAbort) {
  EXPECT_EQ(run({"zoth", "chunks"}), 0);
  EXPECT_EQ(shell_->out(), "one\ntwo\nthree\n");
  EXPECT_EQ(shell_->err(), "");
  // Each chunk went out only after the confirm of the one before, so all three confirms came.
  const std::string j = journal();
  EXPECT_THAT(j, HasSubstr("request version=1 argc=2 src=1 words=zoth|chunks\n"));
  EXPECT_THAT(j, HasSubstr("confirm routine=400 seq=0 size=14\n"));
  EXPECT_THAT(j, HasSubstr("confirm routine=402 seq=0 size=14\n"));
  EXPECT_TRUE(journalHas("abort dst=300 src=1 size=12 after end\n")) << journal();
}

TEST_F(KvnshProcessTest, ExitStatusIsTheResultAlsoThroughTheLinks) {
  EXPECT_EQ(run({"zoth", "end", "3"}), 3);
  EXPECT_EQ(run({"end", "0"}, KVNSH_BIN_DIR "/zoth"), 0);
  EXPECT_EQ(run({"end", "7"}, KVNSH_BIN_DIR "/zomlek"), 7);
  EXPECT_THAT(journal(), HasSubstr("words=zomlek|end|7\n"));
  // Options of kvnsh are not taken from a link's arguments.
  EXPECT_EQ(run({"echo", "--help", "x y"}, KVNSH_BIN_DIR "/zorf"), 0);
  EXPECT_EQ(shell_->out(), "zorf|echo|--help|x y\n");
}

TEST_F(KvnshProcessTest, RefusalsAndMissingPeersHaveTheirOwnStatuses) {
  EXPECT_EQ(run({"zoth", "refuse", "1"}), kExitRefusedVersion);
  EXPECT_THAT(shell_->err(), HasSubstr("refused the command: bad protocol version (reason 1)"));
  EXPECT_EQ(run({"zorf", "--help"}), kExitRefusedNotImplemented);
  EXPECT_THAT(shell_->err(), HasSubstr("command not implemented (reason 2)"));
  EXPECT_EQ(run({"--service", "nobody", "zoth", "info"}), kExitNoService);
  EXPECT_THAT(shell_->err(), HasSubstr("no service \"nobody\" on the mailbox hub"));
  EXPECT_EQ(run({"--namespace", "elsewhere", "zoth", "info"}), kExitNoHub);
  EXPECT_THAT(shell_->err(), HasSubstr("cannot reach the mailbox hub"));
  EXPECT_EQ(run({"--bogus"}), kExitUsage);
}

TEST_F(KvnshProcessTest, BinaryStreamIsBase64OrGoesToTheOutputFile) {
  EXPECT_EQ(run({"zoth", "dump"}), 0);
  EXPECT_EQ(shell_->out(), "TFBQCgABAgP//g==\n");
  EXPECT_THAT(journal(), HasSubstr("confirm routine=402 seq=2"));

  EXPECT_EQ(run({"--output", dir_.file("dump.bin"), "zoth", "dump"}), 0);
  EXPECT_EQ(shell_->out(), "");
  EXPECT_EQ(dir_.read("dump.bin"), std::string("LPP\n\0\1\2\3\xff\xfe", 10));
  EXPECT_THAT(shell_->err(), HasSubstr("10 bytes of binary output written to"));
}

TEST_F(KvnshProcessTest, ServiceDyingMidCommandEndsTheWait) {
  EXPECT_EQ(run({"zoth", "die"}), kExitServiceGone);
  EXPECT_EQ(shell_->out(), "dying\n");
  EXPECT_THAT(shell_->err(), HasSubstr("the service went away in the middle of the command"));
}

TEST_F(KvnshProcessTest, HubDyingMidCommandEndsTheWait) {
  Process shell(dir_, "waiting", kKvnsh, {"zoth", "wait"});
  ASSERT_TRUE(eventually([&] { return contains(shell.out(), "waiting\n"); })) << shell.err();
  hub_->process().signal(SIGKILL);
  EXPECT_EQ(shell.wait(), kExitServiceGone);
  EXPECT_THAT(shell.err(), HasSubstr("lost the service in the middle of the command"));
}

TEST_F(KvnshProcessTest, CtrlCAbortsTheCommandAndWaitsForItsEnd) {
  Process shell(dir_, "waiting", kKvnsh, {"zoth", "wait"});
  ASSERT_TRUE(eventually([&] { return contains(shell.out(), "waiting\n"); })) << shell.err();
  ASSERT_TRUE(journalHas("confirm routine=400"));
  shell.signal(SIGINT);
  EXPECT_EQ(shell.wait(), 1);
  EXPECT_EQ(shell.out(), "waiting\naborted\n");
  EXPECT_THAT(journal(), HasSubstr("abort dst=300 src=1 size=12\n"));
  EXPECT_THAT(journal(), HasSubstr("end result=1\n"));
  // The life routine was closed by the Ctrl-C; no second abort follows the end.
  EXPECT_THAT(journal(), ::testing::Not(HasSubstr("after end")));
}

TEST_F(KvnshProcessTest, PromptRunsLinesAndKeepsHistory) {
  KvnshTerminal term(dir_, kKvnsh);
  ASSERT_TRUE(term.waitFor("kvnsh> ")) << term.screen();
  term.type("zoth echo 'trace string' \"\" a\\ b\r");
  ASSERT_TRUE(term.waitFor("zoth|echo|trace string||a b")) << term.screen();
  ASSERT_TRUE(term.waitFor("kvnsh> ")) << term.screen();
  term.type("zoth echo 'open\r");
  ASSERT_TRUE(term.waitFor("unterminated single quote")) << term.screen();
  ASSERT_TRUE(term.waitFor("kvnsh> ")) << term.screen();
  term.type("zoth wait\r");
  ASSERT_TRUE(term.waitFor("waiting")) << term.screen();
  ASSERT_TRUE(journalHas("confirm routine="));
  term.type("\x03");  // Ctrl-C aborts the running command, not the shell
  ASSERT_TRUE(term.waitFor("aborted")) << term.screen();
  ASSERT_TRUE(term.waitFor("kvnsh> ")) << term.screen();
  term.type("zoth end 4\r");
  ASSERT_TRUE(journalHas("end result=4"));
  ASSERT_TRUE(term.waitFor("kvnsh> ")) << term.screen();
  term.type("\x04");  // Ctrl-D at an empty line
  EXPECT_EQ(term.wait(), 4) << term.screen();

  // The line with the open quote never reached the service.
  const std::string j = journal();
  size_t requests = 0;
  for (size_t at = j.find("request "); at != std::string::npos; at = j.find("request ", at + 1))
    ++requests;
  EXPECT_EQ(requests, 3u) << j;
  EXPECT_THAT(dir_.read(".kvnsh_history"), HasSubstr("end"));
}

}  // namespace
}  // namespace kvnsh
