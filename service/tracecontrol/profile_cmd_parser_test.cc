#include "service/tracecontrol/profile_cmd_parser.h"

#include <gtest/gtest.h>

#include "service/tracecontrol/log_test_fixture.h"
#include "service/tracecontrol/profile_list_cmd_session.h"

namespace kvn {
namespace {

class ProfileCmdParserTest : public kvn::testing::LogTestFixture {
 protected:
  void addAgents() {
    // Agent 1 lacks the trace object function: its container is not listed.
    addAgent(1, Agent{{}, {}, {{"Unused", {"*;*;x.check"}}}, false});
    addAgent(2, Agent{{},
                      {},
                      {{"DefaultProfile", {"*;*;*.check", "MOKA;1;obj.info"}},
                       {"Scheduling", {"*;*;*Scheduler.trace1"}},
                       {"Sched2", {"*;0;ul.*"}}}});
  }

  // The answer of a command: the session's text and result, or the error the parser raised.
  std::pair<std::string, int> run(const std::vector<std::string>& args) {
    std::shared_ptr<CmdSession> session;
    try {
      session = parser.parse(args);
    } catch (const CmdParserErrorCode& e) {
      return {e.what(), e.code()};
    }
    const Answer a = command(session);  // the parser's own answer, or the session's
    return {a.text, a.result.value_or(-1)};
  }

  ProfileCmdParser parser;
};

// The verbose table, a pattern, an unknown name and no agent at all: e2e ProfileCommandTest.
TEST_F(ProfileCmdParserTest, ListsTheFirstServingAgentsProfilesInOrder) {
  addAgents();
  EXPECT_EQ(run({"list"}),
            std::make_pair(std::string("Profiles:\nDefaultProfile\nSched2\nScheduling\n"), 0));
}

TEST_F(ProfileCmdParserTest, WrongWordsAreAnsweredWithTheHelp) {
  addAgents();
  const std::string help = parser.usage();
  EXPECT_EQ(run({}), std::make_pair("No action specified\n" + help, 1));
  EXPECT_EQ(run({"show"}), std::make_pair("Unknown command show\n" + help, 1));
  EXPECT_EQ(run({"list", "a", "b"}), std::make_pair("Too many arguments for list\n" + help, 1));
  EXPECT_EQ(run({"list", "--bogus"}).second, 1);
  EXPECT_EQ(run({"-h"}), std::make_pair(help + "\n", 0));
}

TEST_F(ProfileCmdParserTest, NeedsAnAgentWithTheTraceObjectFunction) {
  addAgent(1, Agent{{}, {}, {}, false});
  const auto [text, result] = run({"list"});
  EXPECT_EQ(text.rfind("No matching DAXO supports trace profiles\n", 0), 0u) << text;
  EXPECT_EQ(result, 1);
}

}  // namespace
}  // namespace kvn
