// kill -9 of a peer in the middle of its work, with real processes: a front end while its
// command waits on an agent, and the service while it saves an agent's trace state.
#include <gtest/gtest.h>
#include <signal.h>

#include <random>
#include <string>
#include <thread>
#include <vector>

#include "tests/e2e/test_system.h"

namespace kvn::e2e {
namespace {

constexpr const char* kSetMask = "\"name\":\"KVN_TRACEOBJECT_SETMASK_REQ\"";

// One system for both: each part's checks stand on their own.
TEST(PeerKilledTest, AKilledFrontEndLeavesNothingAndAKilledServiceLeavesAWholeState) {
  RunDir dir;
  TestSystem system(dir);
  ASSERT_TRUE(system.ok()) << system.error();
  // The agent confirms at once, but is stopped before the command starts: its request waits
  // in the agent's mailbox until the service has seen the front end die, however long that
  // takes.
  ASSERT_TRUE(system.startAgent(1)) << system.agent(1).err();
  const int idle = system.settledSlots();
  ASSERT_GT(idle, 0);
  system.agent(1).signal(SIGSTOP);
  const std::string sent = "Sending signal KVN_TRACEOBJECT_SETMASK_REQ";
  const size_t sentBefore = countOf(system.service().err(), sent);
  const size_t endsBefore = countOf(system.service().err(), "retVal=");
  std::unique_ptr<Process> shell =
      system.startShell({"zorf", "log", "enable", "1", "obj", "trace1"});
  ASSERT_TRUE(eventually([&] { return countOf(system.service().err(), sent) > sentBefore; },
                         std::chrono::seconds(20)))
      << system.service().err();
  shell->signal(SIGKILL);
  shell->wait();
  // The life routine hears of the death and aborts the session.
  EXPECT_TRUE(eventually(
      [&] {
        return countOf(system.service().err(), "retVal=1") > 0 &&
               countOf(system.service().err(), "retVal=") == endsBefore + 1;
      },
      std::chrono::seconds(60)))
      << system.service().err();
  // Then the late confirm finds no session, and nothing is printed: every slot comes back.
  system.agent(1).signal(SIGCONT);
  EXPECT_TRUE(eventually(
      [&] {
        const std::vector<std::string> requests = system.journalLines(1, kSetMask);
        return requests.size() == 2 && contains(requests[1], R"("confirm":"sent")");
      },
      std::chrono::seconds(20)))
      << "the request was never confirmed";
  EXPECT_TRUE(eventually([&] { return system.usedSlots() == idle; }, std::chrono::seconds(20)))
      << "used " << system.usedSlots() << ", at start " << idle;
  EXPECT_EQ(countOf(system.service().err(), "retVal="), endsBefore + 1);
  EXPECT_TRUE(system.service().running());

  // The saved state is written whole or not at all: after a kill -9 at any moment of a save,
  // the file holds the text of the save before or of the one under way.
  system.agent(1).stop(SIGKILL);
  ASSERT_TRUE(system.startAgent(1, {"--reconnect"})) << system.agent(1).err();
  std::mt19937 random(17);
  std::string out, texts[2];
  const char* const toggles[2] = {"disable", "enable"};
  for (int round = 0; round < 50; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    // The reconnected agent takes (and removes) what the last round left: a round starts with
    // the saved text of one state and saves the other.
    const int from = round % 2, to = 1 - from;
    ASSERT_EQ(system.shell({"zorf", "log", toggles[from], "1", "obj", "trace2"}, out), 0) << out;
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_EQ(system.shell({"zorf", "log", "save", "1"}, out), 0) << out;
    // The kill falls anywhere in the time a whole save takes, the shell's start included.
    const auto saveTime = std::chrono::duration_cast<std::chrono::microseconds>(
        std::chrono::steady_clock::now() - begin);
    texts[from] = dir.read("state/savedTraceGroupsAndProfilesTC2_MOKA-1");
    ASSERT_FALSE(texts[from].empty());
    EXPECT_EQ(entries(system.stateDir()).size(), 1u) << "a whole save leaves nothing else";
    ASSERT_EQ(system.shell({"zorf", "log", toggles[to], "1", "obj", "trace2"}, out), 0) << out;

    std::unique_ptr<Process> save = system.startShell({"zorf", "log", "save", "1"});
    std::this_thread::sleep_for(std::chrono::microseconds(random() % (saveTime.count() + 1)));
    system.service().signal(SIGKILL);
    system.service().wait();
    save->wait();

    const std::string now = dir.read("state/savedTraceGroupsAndProfilesTC2_MOKA-1");
    if (texts[to].empty() && now != texts[from]) {
      texts[to] = now;  // the first new text, checked once for its last section
      EXPECT_NE(now.find("\nManuallyChangedUtracePoints:\n"), std::string::npos) << now;
    }
    EXPECT_TRUE(now == texts[from] || now == texts[to]) << now;
    // At most the temporary of the killed save, which the next save replaces.
    for (const std::string& name : entries(system.stateDir()))
      EXPECT_TRUE(name == "savedTraceGroupsAndProfilesTC2_MOKA-1" ||
                  name == "savedTraceGroupsAndProfilesTC2_MOKA-1.tmp")
          << name;

    const size_t masks = system.journalLines(1, kSetMask).size();
    ASSERT_TRUE(system.startService()) << system.error();
    ASSERT_TRUE(eventually([&] { return system.journalLines(1, kSetMask).size() > masks; }));
  }
}

}  // namespace
}  // namespace kvn::e2e
