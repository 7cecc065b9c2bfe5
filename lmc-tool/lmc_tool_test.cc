#include "lmc-tool/lmc_tool.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <sstream>

#include "util/testing/scratch_dir.h"

namespace {

using kvn::lmc::LmcTool;
using kvn::testing::ScratchDir;

class LmcToolTest : public ::testing::Test {
 protected:
  int run(const std::vector<std::string>& args) {
    out.str("");
    err.str("");
    LmcTool tool(out, err);
    return tool.run(args);
  }
  std::string pack(const std::string& json, bool check = true) {
    dir.write("d.json", json);
    std::vector<std::string> args = {"pack", dir.file("c.lmc"), "--from", dir.file("d.json")};
    if (!check) args.push_back("--no-check");
    EXPECT_EQ(run(args), LmcTool::kOk) << err.str();
    return dir.file("c.lmc");
  }

  ScratchDir dir;
  std::ostringstream out;
  std::ostringstream err;
};

const char kSample[] = R"({"modules": [
  {"identity": "Image A", "role": "dsp", "compression": 1, "text": "image bytes!"},
  {"metadata": {"load_module": "agent", "trace_objects": [{"name": "o", "trace_id": 1}]}},
  {"profiles": {"P": ["*;*;o.*"], "Q": ["*;1;*.info"]}, "flight_recorder": "Q"}]})";

TEST_F(LmcToolTest, ShowsWhatTheServiceReads) {
  const std::string c = pack(kSample);
  ASSERT_EQ(run({"list", c}), LmcTool::kOk);
  EXPECT_NE(out.str().find(": 3 modules, header 88 bytes"), std::string::npos);
  EXPECT_NE(out.str().find("Image A"), std::string::npos);
  EXPECT_NE(out.str().find("agent_META"), std::string::npos);

  ASSERT_EQ(run({"extract", c, "imagea"}), LmcTool::kOk);
  EXPECT_EQ(out.str(), "image bytes!");
  ASSERT_EQ(run({"extract", c, "IMAGE A", "-o", dir.file("img")}), LmcTool::kOk);
  EXPECT_EQ(ScratchDir::read(dir.file("img")), "image bytes!");

  ASSERT_EQ(run({"tables", c, "agent_META"}), LmcTool::kOk);
  EXPECT_EQ(out.str(), "traceobjname\nstridtraceid\ntraceformat\nutracemeta\ntracestr\n");
  ASSERT_EQ(run({"table", c, "agent_META", "stridtraceid"}), LmcTool::kOk);
  EXPECT_EQ(out.str(), "1\n");
  ASSERT_EQ(run({"table", c, "agent_META", "traceformat"}), LmcTool::kOk);  // empty table
  EXPECT_EQ(out.str(), "");

  ASSERT_EQ(run({"profiles", c}), LmcTool::kOk);
  EXPECT_EQ(out.str(), "DefaultProfile\nP\nQ\nflight recorder: Q\n");
  ASSERT_EQ(run({"profiles", "-v", c}), LmcTool::kOk);
  EXPECT_NE(out.str().find("*                   1                   *.info\n"), std::string::npos);
}

TEST_F(LmcToolTest, EmptyModuleExtractsToAnEmptyFile) {
  const std::string c = pack(R"({"modules": [{"identity": "e", "text": ""}]})");
  ASSERT_EQ(run({"extract", c, "e", "-o", dir.file("empty")}), LmcTool::kOk) << err.str();
  EXPECT_EQ(access(dir.file("empty").c_str(), F_OK), 0);
  EXPECT_EQ(ScratchDir::read(dir.file("empty")), "");
}

TEST_F(LmcToolTest, ErrorsArePrintedWithAFailingStatus) {
  const std::string c = pack(kSample);
  EXPECT_EQ(run({"extract", c, "nope"}), LmcTool::kFailed);
  EXPECT_EQ(err.str(), "lmc-tool: no load module 'nope' in " + c + "\n");
  EXPECT_EQ(run({"table", c, "agent_META", "nope"}), LmcTool::kFailed);
  EXPECT_NE(err.str().find("Table with name nope was not in set of 5 tables"), std::string::npos);
  EXPECT_EQ(run({"list", dir.write("bad.lmc", "junk")}), LmcTool::kFailed);
  EXPECT_EQ(run({"profiles", dir.file("missing.lmc")}), LmcTool::kFailed);
  EXPECT_EQ(err.str(), "lmc-tool: Bad LMC path " + dir.file("missing.lmc") + "\n");
}

TEST_F(LmcToolTest, BadProbeLineFailsThePackUnlessAskedNotToCheck) {
  const std::string json =
      R"({"modules": [{"profiles": {"P": ["*;*;o.*;extra"]}, "compression": 1}]})";
  dir.write("d.json", json);
  EXPECT_EQ(run({"pack", dir.file("c.lmc"), "--from", dir.file("d.json")}), LmcTool::kFailed);
  EXPECT_NE(err.str().find("profiles: Could not parse to TraceProbe from rawProbe *;*;o.*;extra"),
            std::string::npos);
  EXPECT_NE(access(dir.file("c.lmc").c_str(), F_OK), 0);  // removed

  const std::string c = pack(json, false);
  EXPECT_EQ(run({"profiles", c}), LmcTool::kFailed);
  EXPECT_EQ(err.str(), "lmc-tool: Could not parse to TraceProbe from rawProbe *;*;o.*;extra\n");
}

TEST_F(LmcToolTest, UsageMistakesAndHelp) {
  EXPECT_EQ(run({}), LmcTool::kUsage);
  EXPECT_EQ(run({"frobnicate"}), LmcTool::kUsage);
  EXPECT_EQ(run({"pack", "out.lmc"}), LmcTool::kUsage);
  EXPECT_EQ(run({"extract", "f.lmc", "id", "--bogus"}), LmcTool::kUsage);
  EXPECT_EQ(run({"list", "--help"}), LmcTool::kOk);
  EXPECT_NE(out.str().find("pack OUT --from DESCRIPTION.json"), std::string::npos);
}

}  // namespace
