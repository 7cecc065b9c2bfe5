#include "service/tracecontrol/log_cmd_parser.h"

#include <stdio.h>

#include <gtest/gtest.h>

#include "service/agents/daxo_match_error.h"
#include "service/tracecontrol/log_test_fixture.h"
#include "service/tracecontrol/log_toggle_cmd_session.h"
#include "util/cmd/output_cmd_session.h"

namespace kvn {
namespace {

// Tells what the parser asked for instead of making sessions: the kind, the agents in
// brackets, then the names.
class RecordingFactory : public LogSessionFactory {
 public:
  std::shared_ptr<CmdSession> createToggleSession(const std::vector<uint16_t>& a,
                                                  const std::vector<std::string>& n, bool e,
                                                  bool v) override {
    return record(std::string(e ? "enable" : "disable") + (v ? " verbose" : ""), a, n);
  }
  std::shared_ptr<CmdSession> createResetSession(const std::vector<uint16_t>& a) override {
    return record("reset", a, {});
  }
  std::shared_ptr<CmdSession> createResetSession(const std::vector<uint16_t>& a,
                                                 const std::string& n, uint32_t m) override {
    char mask[16];
    snprintf(mask, sizeof mask, "%#x", m);
    return record(std::string("reset ") + mask, a, {n});
  }
  std::string last;

 private:
  std::shared_ptr<CmdSession> record(std::string what, const std::vector<uint16_t>& agents,
                                     const std::vector<std::string>& names) {
    for (size_t i = 0; i < agents.size(); ++i)
      what += (i == 0 ? " [" : " ") + std::to_string(agents[i]);
    what += "]";
    for (const std::string& n : names) what += " " + n;
    last = what;
    return std::make_shared<OutputCmdSession>("", 0);
  }
};

class LogCmdParserTest : public kvn::testing::LogTestFixture {
 protected:
  LogCmdParserTest() {
    Agent a{{"obj"}, {{"utp.1", 5, false}}};
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
  // What the parser asked the factory for.
  std::string parsed(const std::vector<std::string>& args) {
    factory->last.clear();
    parser.parse(args);
    return factory->last;
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
  EXPECT_EQ(parsed({"e", "1", "obj", "info", "error", "-v"}),
            "enable verbose [1] obj.info obj.error");
  EXPECT_EQ(parsed({"d", "*", "utp.1"}), "disable [1 2] utp.1");
  EXPECT_THROW(parser.parse({"enable", "NOSUCH", "obj"}), DaxoMatchError);
}

TEST_F(LogCmdParserTest, AgentsWithoutTheObjectServiceTakeOnlyUtracePointsAndProfiles) {
  EXPECT_EQ(answerOf({"enable", "*", "obj"}),
            std::make_pair(error("All daxos do not support log command in TC2.0"), 1));
  EXPECT_EQ(parsed({"enable", "*", "utp", "1"}), "enable [1 2] utp.1");
  EXPECT_EQ(parsed({"enable", "*", "DefaultProfile"}), "enable [1 2] DefaultProfile");
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
  EXPECT_EQ(parsed({"r", "1"}), "reset [1]");
  EXPECT_EQ(parsed({"reset", "1", ""}), "reset [1]");
  EXPECT_EQ(parsed({"reset", "1", "obj"}), "reset 0x3fffff [1] obj");
  EXPECT_EQ(parsed({"reset", "1", "obj", "info", "check"}), "reset 0x11 [1] obj");
  EXPECT_EQ(parsed({"reset", "1", "obj", "all", "nosuch"}),
            "reset 0x3fffff [1] obj");  // "all" ends it
  EXPECT_EQ(answerOf({"reset", "1", "obj", "info", "nosuch"}),
            std::make_pair(error("Error - Invalid trace group nosuch"), 1));
}

}  // namespace
}  // namespace kvn
