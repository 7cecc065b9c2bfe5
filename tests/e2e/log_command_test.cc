// zorf log and zoth profile against the real system: pxmd, the service, two simulated agents
// with a container packed by lmc-tool, and kvnsh for each command.
#include <gtest/gtest.h>

#include <string>

#include "tests/e2e/test_system.h"

namespace kvn::e2e {
namespace {

constexpr const char* kSetMask = "\"name\":\"KVN_TRACEOBJECT_SETMASK_REQ\"";
constexpr const char* kUtrace = "\"name\":\"KVN_UTRACE_SET_CONFIG_REQ\"";

std::string entry(int strId, uint32_t mask) {
  return "{\"mask\":" + std::to_string(mask) + ",\"strId\":" + std::to_string(strId) + "}";
}

class LogCommandTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(system_.ok()) << system_.error(); }
  int log(std::vector<std::string> args, std::string& out) {
    args.insert(args.begin(), {"zorf", "log"});
    return system_.shell(args, out);
  }
  std::vector<std::string> masks(int agent) { return system_.journalLines(agent, kSetMask); }

  RunDir dir_;
  TestSystem system_{dir_};
  std::string out_;
};

// One system for all: each step's checks stand on their own.
TEST_F(LogCommandTest, MasksReachTheAgentsThatHaveTheObjectsInTurnWithTheirConfirms) {
  ASSERT_TRUE(system_.startAgent(1)) << system_.agent(1).err();
  ASSERT_TRUE(system_.startAgent(2)) << system_.agent(2).err();
  const uint32_t d = TestSystem::kDefaultMask;
  // At connect: every mask, and the utrace settings.
  ASSERT_EQ(masks(1).size(), 1u);
  EXPECT_TRUE(contains(masks(1)[0],
                       "\"masks\":[" + entry(0, d) + "," + entry(1, d) + "," + entry(2, d) + "]"))
      << masks(1)[0];
  ASSERT_TRUE(eventually([&] { return !system_.journalLines(1, kUtrace).empty(); }));
  const std::string utrace = system_.journalLines(1, kUtrace)[0];
  EXPECT_TRUE(contains(utrace,
                       "\"points\":[{\"differs\":false,\"id\":1},"
                       "{\"differs\":false,\"id\":2},{\"differs\":false,\"id\":3}]"))
      << utrace;
  EXPECT_EQ(masks(2).size(), 1u);
  // The profiles are the containers'.
  EXPECT_EQ(system_.shell({"zoth", "profile", "list"}, out_), 0);
  EXPECT_EQ(out_, "Profiles:\nDefaultProfile\nScheduling\n");
  EXPECT_EQ(system_.shell({"zoth", "profile", "list", "Sched*", "-v"}, out_), 0);
  EXPECT_EQ(out_,
            "Profiles:\nScheduling\nInstance            Role                Trace point or "
            "profile\n*                   *                   *Scheduler.trace1\n\n");

  // A profile sends every mask of the agent named, none to the other.
  ASSERT_EQ(log({"enable", "1", "Scheduling"}, out_), 0) << out_;
  ASSERT_EQ(masks(1).size(), 2u);
  EXPECT_TRUE(contains(masks(1)[1], entry(0, d) + "," + entry(1, d | 0x20) + "," + entry(2, d)))
      << masks(1)[1];
  EXPECT_EQ(masks(2).size(), 1u);
  // A reset sends only the mask that differs from the default.
  ASSERT_EQ(log({"reset"}, out_), 0) << out_;
  EXPECT_EQ(out_, "ok\n");
  ASSERT_EQ(masks(1).size(), 3u);
  EXPECT_TRUE(contains(masks(1)[2], "\"masks\":[" + entry(1, d) + "]")) << masks(1)[2];

  // Groups of one object: one entry to each agent, confirmed.
  ASSERT_EQ(log({"enable", "*", "obj", "trace1", "trace2"}, out_), 0) << out_;
  EXPECT_EQ(out_, "ok\n");
  for (int agent : {1, 2}) {
    const auto got = masks(agent);
    ASSERT_FALSE(got.empty());
    EXPECT_TRUE(contains(got.back(), "\"masks\":[" + entry(0, d | 0x60) + "]")) << got.back();
    EXPECT_TRUE(contains(got.back(), "\"confirm\":\"sent\"")) << got.back();
  }
  EXPECT_EQ(masks(1).size(), 4u);
  EXPECT_EQ(masks(2).size(), 2u);
  // Dsp2's container has no harqHandler.
  ASSERT_EQ(log({"enable", "*", "harqHandler"}, out_), 0);
  EXPECT_EQ(out_,
            "ok, although\nThe following traces/profiles are not applicable on daxo 2:\n"
            "  harqHandler\n\n");
  EXPECT_EQ(masks(2).size(), 2u) << "nothing went to the agent without the object";

  // A slow agent gets the next batch only after its confirm.
  ASSERT_TRUE(system_.startAgent(3, {"--confirm-delay-ms", "700"})) << system_.agent(3).err();
  std::unique_ptr<Process> first =
      system_.startShell({"zorf", "log", "enable", "3", "obj", "trace1"});
  std::unique_ptr<Process> second =
      system_.startShell({"zorf", "log", "enable", "3", "harqHandler", "trace2"});
  EXPECT_EQ(first->wait(), 0) << first->out();
  EXPECT_EQ(second->wait(), 0) << second->out();
  // Every mask request after the first comes after the confirm of the one before.
  int requests = 0, confirms = 0;
  for (const std::string& line : system_.journalLines(3, "")) {
    if (contains(line, kSetMask)) {
      EXPECT_EQ(requests, confirms) << "a request while one was in flight: " << line;
      ++requests;
    }
    if (contains(line, "\"event\":\"confirm_sent\"") && contains(line, "\"src\":40") &&
        requests > confirms)
      ++confirms;
  }
  EXPECT_EQ(requests, 3);
}

}  // namespace
}  // namespace kvn::e2e
