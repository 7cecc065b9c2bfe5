#include "service/tracecontrol/log_status_cmd_session.h"

#include <stdlib.h>
#include <unistd.h>

#include <sstream>

#include <gtest/gtest.h>

#include "service/tracecontrol/log_status_profile_cmd_session.h"
#include "service/tracecontrol/log_test_fixture.h"
#include "service/tracecontrol/trace_state_serializer.h"
#include "util/testing/scratch_dir.h"

namespace kvn {
namespace {

std::string pad(const std::string& s, size_t width = 38) {
  return s.size() < width ? s + std::string(width - s.size(), ' ') : s;
}

const std::string kHead = pad("Trace object name") + "Enabled groups\n";
const std::string kLong = "aVeryLongTraceObjectNameOfMoreThan38Chars";

class LogStatusCmdSessionTest : public kvn::testing::LogTestFixture {
 protected:
  void SetUp() override {
    LogTestFixture::SetUp();
    Agent a;
    a.objects = {"obj", kLong};
    a.profiles["Scheduling"] = {"*;*;obj.trace1"};
    for (char c = 'a'; c <= 'k'; ++c)
      a.points.push_back({std::string("p.") + c, static_cast<uint16_t>(c), true});
    a.points.push_back({"q.off", 99, false});
    addAgent(1, a);
    a.utraceService = false;
    a.objects = {"other"};
    addAgent(2, a);
    settle(1);
    settle(2);
  }
  static std::string read(const std::string& path) { return kvn::testing::ScratchDir::read(path); }
  const std::string kTable = kHead + pad("obj") + "check error info interface \n" + kLong +
                             "check error info interface \n";
  const std::string kPoints = "\nUnique Trace Points\n" + pad("p") +
                              "a    b    c    d    e    f    g    h    i    \n" + pad("") +
                              "j    k    \n";
};

TEST_F(LogStatusCmdSessionTest, OneAgentHasNoAgentLineAndNoClosingLines) {
  const Answer a = command(std::make_shared<LogStatusCmdSession>(std::vector<uint16_t>{1}, false));
  EXPECT_EQ(a.text, "ok\nAgent is connected \n" + kTable + kPoints);
  EXPECT_EQ(a.result, 0);
}

TEST_F(LogStatusCmdSessionTest, SeveralAgentsAreHeadedAndSeparated) {
  DaxoTraceModel::get(2).connected = false;
  LogStatusCmdSession session({1, 2}, false);
  EXPECT_EQ(session.render(), "ok\nAgent: 1, MOKA/1\nAgent is connected \n" + kTable + kPoints +
                                  "\n\nAgent: 2, MOKA/2\nAgent is NOT connected \n" + kHead +
                                  pad("other") + "check error info interface \n\n\n");
}

TEST_F(LogStatusCmdSessionTest, ProfileFormListsProfilesAndForcedBitsSortedByName) {
  DaxoRecord& r = DaxoTraceModel::get(1);
  r.enabledProfiles.insert("Scheduling");
  ManualTraceOverrides& manual = r.traceToggler->overrides();
  manual.set(1, 1u << 1, false);                // kLong: -error
  manual.set(0, (1u << 0) | (1u << 21), true);  // obj: +check +trace_obj
  manual.set(0, 1u << 4, false);                // obj: -info
  manual.setUtrace(2, false);                   // p.c
  manual.setUtrace(0, true);                    // p.a
  const Answer a =
      command(std::make_shared<LogStatusProfileCmdSession>(std::vector<uint16_t>{1, 2}));
  EXPECT_EQ(a.text,
            "DAXO 1, MOKA/1\nEnabled profiles:\n    DefaultProfile\n    Scheduling\n\n"
            "Manual overrides:\n   -" +
                kLong +
                ".error\n   +obj.check\n   -obj.info\n   +obj.trace_obj\n   +p.a\n   -p.c\n\n\n"
                "DAXO 2, MOKA/2\nEnabled profiles:\n    DefaultProfile\n\nManual overrides:\n\n\n");
  EXPECT_EQ(a.result, 0);
}

class LogSaveTest : public LogStatusCmdSessionTest {
 protected:
  void TearDown() override {
    unsetenv("LOG_DIR");
    LogStatusCmdSessionTest::TearDown();
  }
  kvn::testing::ScratchDir scratch;
  const std::string dir = scratch.path();
};

TEST_F(LogSaveTest, WritesEachAgentsStateAndPrintsTheTableWithoutConnectionLine) {
  setenv("LOG_DIR", dir.c_str(), 1);
  DaxoTraceModel::get(1).traceToggler->overrides().set(0, 1u << 5, true);
  settle(1);
  const Answer a =
      command(std::make_shared<LogStatusCmdSession>(std::vector<uint16_t>{1, 2}, true));
  EXPECT_EQ(a.result, 0);
  EXPECT_EQ(a.text.rfind("ok\nAgent: 1, MOKA/1\n" + kHead, 0), 0u) << a.text;
  EXPECT_EQ(a.text.find("connected"), std::string::npos);
  for (uint16_t n : {1, 2}) {
    std::ostringstream expected;
    TraceStateSerializer::save(DaxoTraceModel::get(n), expected);
    EXPECT_EQ(read(dir + "/savedTraceGroupsAndProfilesTC2_MOKA-" + std::to_string(n)),
              expected.str());
  }
  EXPECT_NE(read(dir + "/savedTraceGroupsAndProfilesTC2_MOKA-1").find("obj 0 32\n"),
            std::string::npos);
}

}  // namespace
}  // namespace kvn
