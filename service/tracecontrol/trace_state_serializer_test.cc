#include "service/tracecontrol/trace_state_serializer.h"

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "service/tracecontrol/log_test_fixture.h"
#include "util/testing/scratch_dir.h"

namespace kvn {
namespace {

class TraceStateSerializerTest : public kvn::testing::LogTestFixture {
 protected:
  // A fresh agent 1: objects obj, ulScheduler, harq; three utrace points.
  DaxoRecord& fresh() {
    Agent a{{"obj", "ulScheduler", "harq"},
            {{"ul.grant", 1, false}, {"ul.alloc", 2, true}, {"harq.retx", 3, false}}};
    a.profiles["Scheduling"] = {"*;*;*Scheduler.trace1"};
    return addAgent(1, a);
  }
  ManualTraceOverrides& manual() { return DaxoTraceModel::get(1).traceToggler->overrides(); }
  std::string saved() {
    std::ostringstream out;
    EXPECT_TRUE(TraceStateSerializer::save(DaxoTraceModel::get(1), out));
    return out.str();
  }
  void load(const std::string& text) {
    std::istringstream in(text);
    TraceStateSerializer::load(DaxoTraceModel::get(1), in);
  }
};

TEST_F(TraceStateSerializerTest, WritesFiveSectionsAndReadsBackTheSameState) {
  DaxoRecord& r = fresh();
  r.enabledProfiles.insert("Scheduling");
  manual().set(0, kError, false);
  manual().set(0, kTrace1, true);
  manual().set(2, kInfo, false);
  manual().setUtrace(1, false);
  r.uTracePoints[1].enabled = false;
  r.uTracePoints[2].enabled = true;  // as a profile would have it
  settle(1);
  const std::string text = saved();
  EXPECT_EQ(text,
            "obj check info trace1 interface \n"
            "ulScheduler check error info trace1 interface \n"
            "harq check error interface \n"
            "\nProfiles:\nDefaultProfile\nScheduling\n"
            "\nManuallyChangedTraceObjects:\nobj 0 34\nharq 2 16\n"
            "\nutracePoints:\nul.grant 0\nul.alloc 0\nharq.retx 1\n"
            "\nManuallyChangedUtracePoints:\nul.alloc 0\n");

  // The agent comes back with the default state; the file gives it the saved one, whose text
  // is the same again.
  fresh();
  load(text);
  settle(1);
  EXPECT_EQ(saved(), text);
}

TEST_F(TraceStateSerializerTest, ManualLinesOfAnotherContainerAreDroppedWithTheirReason) {
  fresh();
  LogCapture cap;
  load(
      "obj info \nharq info \nulScheduler info \n"
      "\nManuallyChangedTraceObjects:\n"
      "obj 5 16\n"          // the object has another string id now
      "gone 1 16\n"         // the container no longer has it
      "harq x2 16\n"        // unparsable id
      "harq 2 -16\n"        // unparsable mask
      "harq 2\n"            // no mask
      "ulScheduler 1 17\n"  // still loads after all of those
      "\nProfiles:\nScheduling\n");
  EXPECT_TRUE(cap.has(Level::Error, "Strids 5 and 0 does not match for name obj."));
  EXPECT_TRUE(cap.has(Level::Error, "Could not find gone when loading from saved file."));
  EXPECT_TRUE(
      cap.has(Level::Error, "Could not parse id from saved file for traceObj with name harq."));
  EXPECT_EQ(
      cap.count(Level::Error, "Could not parse mask from saved file for traceObj with name harq."),
      2);
  EXPECT_EQ(manual().forcedOn(0) | manual().forcedOff(0), 0u);
  EXPECT_EQ(manual().forcedOn(2) | manual().forcedOff(2), 0u);
  EXPECT_EQ(manual().forcedOn(1), kInfo);
  EXPECT_EQ(manual().forcedOff(1), kCheck);
  EXPECT_EQ(DaxoTraceModel::get(1).enabledProfiles.count("Scheduling"), 1u);
  settle(1);  // the dropped object follows the profiles again
  EXPECT_EQ(mask(1, "obj"), kDefault);
}

TEST_F(TraceStateSerializerTest, ManualLineWithoutItsObjectLineComesBackForcedOff) {
  fresh();
  load("\nManuallyChangedTraceObjects:\nobj 0 18\n");
  EXPECT_EQ(manual().forcedOff(0), kError | kInfo);
  EXPECT_EQ(manual().forcedOn(0), 0u);
}

TEST_F(TraceStateSerializerTest, FileWithoutHeadingsIsAllObjectLines) {
  DaxoRecord& r = fresh();
  LogCapture cap;
  load(
      "obj info nosuch\n\n\nharq all\nnosuch info\n  \nProfiles: \nulScheduler error\n"
      "Profiles:x\n");
  EXPECT_EQ(mask(1, "obj"), kInfo);
  EXPECT_EQ(mask(1, "harq"), 0x3FFFFFu);
  EXPECT_EQ(mask(1, "ulScheduler"), kError);
  EXPECT_EQ(r.enabledProfiles, std::set<std::string>{"DefaultProfile"});
  // Unknown names are skipped in silence.
  for (const auto& l : cap.lines()) EXPECT_NE(l.level, Level::Error) << l.msg;
}

TEST_F(TraceStateSerializerTest, UtraceLinesNeedAKnownPointAndAFlag) {
  DaxoRecord& r = fresh();
  LogCapture cap;
  load(
      "\nutracePoints:\nul.grant 1\nnosuch 1\nharq.retx yes\n"
      "\nManuallyChangedUtracePoints:\nharq.retx 1\nul.grant 2\nnosuch 0\n");
  EXPECT_TRUE(r.uTracePoints[0].enabled);
  EXPECT_FALSE(r.uTracePoints[2].enabled);
  EXPECT_TRUE(manual().utrace(2).changed && manual().utrace(2).value);
  EXPECT_FALSE(manual().utrace(0).changed);
  EXPECT_EQ(cap.count(Level::Error,
                      "Could not parse value from saved file for utracePoint with name harq.retx."),
            1);
  EXPECT_TRUE(cap.has(Level::Error,
                      "Could not parse value from saved file for utracePoint with name ul.grant."));
}

class TraceStateFileTest : public ::testing::Test {
 protected:
  std::vector<std::string> entries() {
    std::vector<std::string> names;
    for (const auto& e : std::filesystem::directory_iterator(dir))
      names.push_back(e.path().filename());
    return names;
  }
  const kvn::testing::ScratchDir scratch;
  const std::string dir = scratch.path();
};

TEST_F(TraceStateFileTest, ReplacesTheWholeFileAndLeavesNoTemporary) {
  const std::string path = dir + "/state";
  std::ofstream(path + ".tmp") << "the stub of a save that was killed";
  ASSERT_TRUE(TraceStateSerializer::writeFile(path, "a long first state\n"));
  ASSERT_TRUE(TraceStateSerializer::writeFile(path, "second\n"));
  EXPECT_EQ(kvn::testing::ScratchDir::read(path), "second\n");
  EXPECT_EQ(entries(), std::vector<std::string>{"state"});
  struct stat st;
  ASSERT_EQ(stat(path.c_str(), &st), 0);
  const mode_t mask = umask(0);
  umask(mask);
  EXPECT_EQ(st.st_mode & 0777, 0666 & ~mask);
}

TEST_F(TraceStateFileTest, FailureLeavesTheOldStateAndNothingElse) {
  EXPECT_FALSE(TraceStateSerializer::writeFile(dir + "/missing/state", "x\n"));
  // Something that cannot be replaced by a file stands at the path: the rename fails.
  ASSERT_EQ(mkdir((dir + "/state").c_str(), 0755), 0);
  std::ofstream(dir + "/state/old") << "old\n";
  EXPECT_FALSE(TraceStateSerializer::writeFile(dir + "/state", "new\n"));
  EXPECT_EQ(entries(), std::vector<std::string>{"state"});
  EXPECT_EQ(kvn::testing::ScratchDir::read(dir + "/state/old"), "old\n");
}

}  // namespace
}  // namespace kvn
