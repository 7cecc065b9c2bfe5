#include "service/tracecontrol/trace_control_connect_hooks.h"

#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "service/agents/daxo_test_fixture.h"
#include "util/testing/scratch_dir.h"

namespace kvn {
namespace {

// The senders and their first batches at a connect: e2e
// LogCommandTest.ConnectingAgentGetsEveryInitialMaskAndItsUtraceSettings.
class TraceControlConnectHooksTest : public kvn::testing::DaxoTestFixture {
 protected:
  TraceControlConnectHooksTest() { DaxoTraceModel::addConnectHooks(&hooks); }
  ~TraceControlConnectHooksTest() override { DaxoTraceModel::removeConnectHooks(&hooks); }

  TraceControlConnectHooks hooks;
};

TEST_F(TraceControlConnectHooksTest, ASavedStateIsReadOnceAndDeleted) {
  const kvn::testing::ScratchDir dir;
  setenv("LOG_DIR", dir.path().c_str(), 1);
  const std::string path = dir.file("savedTraceGroupsAndProfilesTC2_MOKA-1");
  EXPECT_EQ(DaxoTraceModel::savedStatePath(DaxoTraceModel::get(1)).empty(), false);
  std::ofstream(path) << "state\n";
  std::vector<std::string> read;
  hooks.setSavedStateReader([&](DaxoRecord& rec, std::istream& in) {
    std::string line;
    std::getline(in, line);
    read.push_back(std::to_string(rec.bbmHwNumber) + ":" + line);
  });
  connectAgent(agent(1));
  connectAgent(agent(2));  // same name and index: the file is gone
  EXPECT_EQ(read, std::vector<std::string>{"1:state"});
  EXPECT_NE(access(path.c_str(), F_OK), 0);
  hooks.setSavedStateReader(nullptr);
  unsetenv("LOG_DIR");
  unsetenv("TRACE_CONTROLLER_ID");
}

}  // namespace
}  // namespace kvn
