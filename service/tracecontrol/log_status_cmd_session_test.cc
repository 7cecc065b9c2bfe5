#include "service/tracecontrol/log_status_cmd_session.h"

#include <gtest/gtest.h>

#include "service/tracecontrol/log_test_fixture.h"

namespace kvn {
namespace {

std::string pad(const std::string& s, size_t width = 38) {
  return s.size() < width ? s + std::string(width - s.size(), ' ') : s;
}

const std::string kHead = pad("Trace object name") + "Enabled groups\n";
const std::string kLong = "aVeryLongTraceObjectNameOfMoreThan38Chars";

// The profile form and the save: e2e StateSaveTest, which reads both.
class LogStatusCmdSessionTest : public kvn::testing::LogTestFixture {
 protected:
  LogStatusCmdSessionTest() {
    // The points' own layout: UTraceControllerStatusTest.
    Agent a{{"obj", kLong}, {{"p.a", 1, true}, {"q.off", 2, false}}};
    addAgent(1, a);
    a.utraceService = false;
    a.objects = {"other"};
    addAgent(2, a);
    settle(1);
    settle(2);
  }
  const std::string kTable = kHead + pad("obj") + "check error info interface \n" + kLong +
                             "check error info interface \n";
  const std::string kPoints = "\nUnique Trace Points\n" + pad("p") + "a    \n";
};

// One agent has no agent line and no closing lines; several are headed and separated.
TEST_F(LogStatusCmdSessionTest, AgentLinesOnlyForSeveralAgents) {
  command(std::make_shared<LogStatusCmdSession>(std::vector<uint16_t>{1}, false));
  EXPECT_EQ(ended(), "0: ok\nAgent is connected \n" + kTable + kPoints);
  DaxoTraceModel::get(2).connected = false;
  LogStatusCmdSession session({1, 2}, false);
  EXPECT_EQ(session.render(), "ok\nAgent: 1, MOKA/1\nAgent is connected \n" + kTable + kPoints +
                                  "\n\nAgent: 2, MOKA/2\nAgent is NOT connected \n" + kHead +
                                  pad("other") + "check error info interface \n\n\n");
}

}  // namespace
}  // namespace kvn
