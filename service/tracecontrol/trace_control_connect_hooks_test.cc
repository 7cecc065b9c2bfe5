#include "service/tracecontrol/trace_control_connect_hooks.h"

#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "service/agents/daxo_test_fixture.h"
#include "service/tracecontrol/trace_object_controller.h"
#include "service/tracecontrol/utrace_config.h"
#include "util/testing/scratch_dir.h"

namespace kvn {
namespace {

class TraceControlConnectHooksTest : public kvn::testing::DaxoTestFixture {
 protected:
  TraceControlConnectHooksTest() { DaxoTraceModel::addConnectHooks(&hooks); }
  ~TraceControlConnectHooksTest() override { DaxoTraceModel::removeConnectHooks(&hooks); }

  TraceControlConnectHooks hooks;
};

TEST_F(TraceControlConnectHooksTest, AConnectGetsItsSendersAndTheirFirstBatches) {
  Description d = agent(2);
  d.lmcPath = "/nonexistent/moka.lmc";
  d.attributes = {{40, 0, {14, 0, 0}}, {41, 0, {15, 0, 0}}};
  connectAgent(d);
  const DaxoRecord& r = DaxoTraceModel::get(2);
  EXPECT_TRUE(r.traceToggler);
  ASSERT_TRUE(r.traceObjectManager.controller);
  ASSERT_TRUE(r.uniqueTraceManager.config && r.uniqueTraceManager.controller);
  // Both senders got their first batch at the connect, with no answer awaited.
  EXPECT_EQ(r.traceObjectManager.controller->pendingBatches(), 1u);
  EXPECT_EQ(r.uniqueTraceManager.config->pendingBatches(), 1u);
}

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
