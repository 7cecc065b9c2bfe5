// Saved trace state with real processes: what an operator switched survives a kill -9 of the
// agent and a restart of the service, and a save that cannot write says so.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <string>

#include "tests/e2e/test_system.h"

namespace kvn::e2e {
namespace {

constexpr const char* kSetMask = "\"name\":\"KVN_TRACEOBJECT_SETMASK_REQ\"";
constexpr const char* kUtrace = "\"name\":\"KVN_UTRACE_SET_CONFIG_REQ\"";

// The masks and utrace settings that the switches of `switchAll` give.
const std::string kSavedMasks =
    "\"masks\":[{\"mask\":1048659,\"strId\":0},"  // obj +trace2
    "{\"mask\":1048627,\"strId\":1},"             // ulScheduler, Scheduling
    "{\"mask\":1048593,\"strId\":2}]";            // harqHandler -error
const std::string kSavedPoints =
    "\"points\":[{\"differs\":true,\"id\":1},{\"differs\":true,\"id\":2},"
    "{\"differs\":false,\"id\":3}]";
const std::string kProfileStatus =
    "DAXO 1, MOKA/1\nEnabled profiles:\n    DefaultProfile\n    Scheduling\n\n"
    "Manual overrides:\n   -harqHandler.error\n   +obj.trace2\n   -ulScheduler.alloc\n"
    "   +ulScheduler.grant\n\n\n";

bool exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

class StateSaveTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(system_.ok()) << system_.error(); }

  void log(const std::vector<std::string>& words, const std::string& expected = "ok\n") {
    std::vector<std::string> line = {"zorf", "log"};
    line.insert(line.end(), words.begin(), words.end());
    EXPECT_EQ(system_.shell(line, out_), 0) << out_;
    EXPECT_EQ(out_, expected) << words[0];
  }
  // A profile, groups of two objects and two utrace points, away from their defaults.
  void switchAll() {
    log({"enable", "1", "Scheduling"});
    log({"enable", "1", "obj", "trace2"});
    log({"disable", "1", "harqHandler", "error"});
    log({"enable", "1", "ulScheduler.grant"});
    log({"disable", "1", "ulScheduler.alloc"});
    log({"status", "1", "-p"}, kProfileStatus);
  }
  void save() {
    EXPECT_EQ(system_.shell({"zorf", "log", "save", "1"}, out_), 0);
    EXPECT_EQ(out_.rfind("ok\nTrace object name", 0), 0u) << out_;
    EXPECT_EQ(out_.find("Could not write"), std::string::npos) << out_;
    ASSERT_TRUE(exists(system_.stateFile()));
  }
  // The last connect's masks and utrace settings, as the agent got them: the first of each
  // after `masksBefore` and `pointsBefore` lines of the journal.
  void expectSavedStateArrived(size_t masksBefore = 0, size_t pointsBefore = 0) {
    ASSERT_TRUE(eventually([&] {
      return system_.journalLines(1, kSetMask).size() > masksBefore &&
             system_.journalLines(1, kUtrace).size() > pointsBefore;
    })) << system_.agent(1).err();
    const std::string masks = system_.journalLines(1, kSetMask)[masksBefore];
    EXPECT_NE(masks.find(kSavedMasks), std::string::npos) << masks;
    const std::string points = system_.journalLines(1, kUtrace)[pointsBefore];
    EXPECT_NE(points.find(kSavedPoints), std::string::npos) << points;
    log({"status", "1", "-p"}, kProfileStatus);
    EXPECT_FALSE(exists(system_.stateFile())) << "a saved state is used once";
  }

  RunDir dir_;
  TestSystem system_{dir_};
  std::string out_;
};

TEST_F(StateSaveTest, AgentKilledOrServiceRestartedTheAgentGetsTheSavedState) {
  ASSERT_TRUE(system_.startAgent(1)) << system_.agent(1).err();
  switchAll();
  save();
  system_.agent(1).signal(SIGKILL);
  ASSERT_TRUE(system_.agent(1).wait().has_value());
  ASSERT_TRUE(system_.startAgent(1, {"--reconnect"})) << system_.agent(1).err();
  expectSavedStateArrived();

  // The same state saved again; the service restarts and the agent reconnects.
  save();
  const size_t masks = system_.journalLines(1, kSetMask).size();
  const size_t points = system_.journalLines(1, kUtrace).size();
  EXPECT_EQ(system_.service().stop(SIGTERM), 0);
  ASSERT_TRUE(system_.startService()) << system_.error();
  expectSavedStateArrived(masks, points);
}

// A save that cannot write still answers ok and its listing, and says so before the utrace
// points. (The file that was there stays: TraceStateFileTest and PeerKilledTest.)
TEST_F(StateSaveTest, SaveThatCannotWriteAnswersOkAndSaysSo) {
  ASSERT_TRUE(system_.startAgent(1)) << system_.agent(1).err();
  log({"enable", "1", "obj", "trace2"});
  ASSERT_EQ(rmdir(system_.stateDir().c_str()), 0);
  EXPECT_EQ(system_.shell({"zorf", "log", "s", "1"}, out_), 0);
  EXPECT_EQ(out_.rfind("ok\nTrace object name", 0), 0u) << out_;
  EXPECT_NE(out_.find("obj                                   check error info trace2 "
                      "interface \nulScheduler"),
            std::string::npos)
      << out_;
  EXPECT_NE(out_.find("\nCould not write to file \n\nUnique Trace Points\n"), std::string::npos)
      << out_;
}

}  // namespace
}  // namespace kvn::e2e
