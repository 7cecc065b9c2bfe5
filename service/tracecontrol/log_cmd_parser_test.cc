#include "service/tracecontrol/log_cmd_parser.h"

#include <gtest/gtest.h>

#include "service/agents/daxo_match_error.h"
#include "service/tracecontrol/log_test_fixture.h"
#include "service/tracecontrol/log_toggle_cmd_session.h"
#include "util/cmd/output_cmd_session.h"

namespace kvn {
namespace {

// Records what the parser asks for instead of making sessions.
class RecordingFactory : public LogSessionFactory {
 public:
  std::shared_ptr<CmdSession> createToggleSession(const std::vector<uint16_t>& a,
                                                  const std::vector<std::string>& n, bool e,
                                                  bool v) override {
    agents = a;
    names = n;
    enable = e;
    verbose = v;
    kind = "toggle";
    return std::make_shared<OutputCmdSession>("", 0);
  }
  std::shared_ptr<CmdSession> createResetSession(const std::vector<uint16_t>& a) override {
    agents = a;
    kind = "reset";
    return std::make_shared<OutputCmdSession>("", 0);
  }
  std::shared_ptr<CmdSession> createResetSession(const std::vector<uint16_t>& a,
                                                 const std::string& n, uint32_t m) override {
    agents = a;
    names = {n};
    mask = m;
    kind = "reset named";
    return std::make_shared<OutputCmdSession>("", 0);
  }
  std::string kind;
  std::vector<uint16_t> agents;
  std::vector<std::string> names;
  bool enable = false;
  bool verbose = false;
  uint32_t mask = 0;
};

class LogCmdParserTest : public kvn::testing::LogTestFixture {
 protected:
  void SetUp() override {
    LogTestFixture::SetUp();
    Agent a;
    a.objects = {"obj"};
    a.points = {{"utp.1", 5, false}};
    addAgent(1, a);
    a.objects.clear();
    a.objectService = false;
    addAgent(2, a);
  }
  // The text and result of an answer the parser gives at once.
  std::pair<std::string, int> answerOf(const std::vector<std::string>& args) {
    auto out = std::dynamic_pointer_cast<OutputCmdSession>(parser.parse(args));
    if (!out) return {"<session>", -1};
    return {out->getText(), out->getResult()};
  }
  std::string error(const std::string& text) {
    return "error\n" + text + "\n" + parser.usageText() + "\n";
  }

  std::shared_ptr<RecordingFactory> factory = std::make_shared<RecordingFactory>();
  LogCmdParser parser{factory};
};

TEST_F(LogCmdParserTest, FirstWordMustBeACommandBeforeAnyOption) {
  EXPECT_THROW(parser.parse({}), NotImplementedError);
  EXPECT_THROW(parser.parse({"-v", "enable"}), NotImplementedError);
  EXPECT_THROW(parser.parse({"stat"}), NotImplementedError);
  EXPECT_EQ(answerOf({"enable", "-h"}), std::make_pair("error\n" + parser.usageText() + "\n", 1));
  EXPECT_EQ(answerOf({"enable", "--bogus"}), std::make_pair(error("Unknown option --bogus"), 1));
}

TEST_F(LogCmdParserTest, EnableAndDisableWords) {
  EXPECT_EQ(answerOf({"enable", "1"}), std::make_pair(error("Error - Missing parameters"), 1));
  parser.parse({"e", "1", "obj", "info", "error", "-v"});
  EXPECT_EQ(factory->kind, "toggle");
  EXPECT_EQ(factory->names, (std::vector<std::string>{"obj.info", "obj.error"}));
  EXPECT_TRUE(factory->enable);
  EXPECT_TRUE(factory->verbose);
  parser.parse({"d", "*", "utp.1"});
  EXPECT_EQ(factory->names, std::vector<std::string>{"utp.1"});
  EXPECT_EQ(factory->agents, (std::vector<uint16_t>{1, 2}));
  EXPECT_FALSE(factory->enable);
  EXPECT_THROW(parser.parse({"enable", "NOSUCH", "obj"}), DaxoMatchError);
}

TEST_F(LogCmdParserTest, AgentsWithoutTheObjectServiceTakeOnlyUtracePointsAndProfiles) {
  EXPECT_EQ(answerOf({"enable", "*", "obj"}),
            std::make_pair(error("All daxos do not support log command in TC2.0"), 1));
  factory->kind.clear();
  parser.parse({"enable", "*", "utp", "1"});
  EXPECT_EQ(factory->kind, "toggle");
  factory->kind.clear();
  parser.parse({"enable", "*", "DefaultProfile"});
  EXPECT_EQ(factory->kind, "toggle");
}

TEST_F(LogCmdParserTest, StatusSaveAndListDuplicateObjects) {
  EXPECT_EQ(answerOf({"status", "1", "x"}),
            std::make_pair(error("Error - Too many arguments for status"), 1));
  EXPECT_EQ(answerOf({"status", "NOSUCH"}), std::make_pair(error("Error - No daxos found"), 1));
  EXPECT_EQ(answerOf({"status"}),
            std::make_pair(error("All daxos do not support log command in TC2.0"), 1));
  EXPECT_EQ(answerOf({"status", "1"}).first, "<session>");
  EXPECT_EQ(answerOf({"s", "1", "x"}),
            std::make_pair(error("Error - Too many arguments for save"), 1));
  EXPECT_EQ(answerOf({"ldo"}),
            std::make_pair(error("listduplicateobjects runs on TC2.0 only if at least one daxo "
                                 "supports new trace object manager"),
                           1));
  DaxoTraceModel::get(2).connected = false;
  EXPECT_EQ(answerOf({"listduplicateobjects"}),
            std::make_pair(std::string("ok\nlistduplicateobjects is deprecated. Please check "
                                       "baseband info traces for duplicate objects.\n"),
                           0));
}

TEST_F(LogCmdParserTest, ResetForms) {
  EXPECT_EQ(answerOf({"reset"}),
            std::make_pair(error("zorf log reset is not supported in this build.\n"), 1));
  parser.parse({"r", "1"});
  EXPECT_EQ(factory->kind, "reset");
  parser.parse({"reset", "1", "obj"});
  EXPECT_EQ(factory->kind, "reset named");
  EXPECT_EQ(factory->mask, 0x3FFFFFu);
  parser.parse({"reset", "1", "obj", "info", "check"});
  EXPECT_EQ(factory->mask, 0x11u);
  parser.parse({"reset", "1", "obj", "all", "nosuch"});  // "all" ends the list
  EXPECT_EQ(factory->mask, 0x3FFFFFu);
  EXPECT_EQ(answerOf({"reset", "1", "obj", "info", "nosuch"}),
            std::make_pair(error("Error - Invalid trace group nosuch"), 1));
  parser.parse({"reset", "1", ""});
  EXPECT_EQ(factory->kind, "reset");
}

}  // namespace
}  // namespace kvn
