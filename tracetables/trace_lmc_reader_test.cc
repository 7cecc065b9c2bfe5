#include "tracetables/trace_lmc_reader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "lmc-tool/lmc_writer.h"
#include "lmc-tool/table_blob_writer.h"
#include "tracing/log_capture.h"
#include "util/testing/scratch_dir.h"

namespace {

using kvn::lmc::LmcWriter;
using kvn::lmc::LmDefinition;
using kvn::lmc::TableBlobWriter;
using kvn::log::Level;
using kvn::log::LogCapture;
using kvn::testing::ScratchDir;
using kvntrace::TraceLmcReader;
using Strings = std::vector<std::string>;

LmDefinition tableModule(const std::string& identity, const TableBlobWriter& blob,
                         uint16_t ca = 1) {
  LmDefinition m;
  m.identity = identity;
  m.compression = ca;
  m.content = blob.build();
  return m;
}

TableBlobWriter metadata(const Strings& traceIds) {
  TableBlobWriter b;
  b.addStringTable("traceobjname", {"ulScheduler", "dlScheduler", "cmPool"});
  b.addStringTable("stridtraceid", traceIds);
  b.addStringTable("traceformat", {"ue %d", "", "%d of %d"});
  b.addStringTable("utracemeta", {"ulScheduler.grant,1,0", "dlScheduler.alloc,2,1"});
  b.addStringTable("tracestr", {"grant %d", "alloc %d"});
  return b;
}

class TraceLmcReaderTest : public ::testing::Test {
 protected:
  std::string container(const std::vector<LmDefinition>& modules) {
    LmcWriter w;
    for (const LmDefinition& m : modules) w.addModule(m);
    w.writeFile(dir.file("c.lmc"));
    return dir.file("c.lmc");
  }
  int countPrefix(const std::string& prefix) const {
    int n = 0;
    for (const auto& l : cap.lines()) n += l.msg.rfind(prefix, 0) == 0 ? 1 : 0;
    return n;
  }

  ScratchDir dir;
  LogCapture cap;
};

TEST_F(TraceLmcReaderTest, AHoldKeepsTheModuleReadUntilItsLastHoldEnds) {
  const std::string path = container({tableModule("daxo_META", metadata({"1", "2", "3"})),
                                      tableModule("other_META", metadata({"4", "5", "6"}))});
  TraceLmcReader reader(path);
  {
    TraceLmcReader::Hold hold(reader);
    {
      TraceLmcReader::Hold inner(reader);
      EXPECT_EQ(reader.getTraceObjectNames("daxo").size(), 3u);
    }
    EXPECT_EQ(reader.getStrIdToTraceId("daxo"), (std::vector<int32_t>{1, 2, 3}));
    EXPECT_TRUE(cap.has(Level::Info, "Extracting string table stridtraceid with index 1"));
    EXPECT_TRUE(cap.has(Level::Info, "Parsing string table with 3 strings"));
    EXPECT_EQ(reader.getUtraceMeta("daxo").size(), 2u);
    EXPECT_EQ(countPrefix("Open mapped file: "), 1);
    EXPECT_EQ(reader.getStrIdToTraceId("other"), (std::vector<int32_t>{4, 5, 6}));
    EXPECT_EQ(countPrefix("Open mapped file: "), 2);
  }
  // Without a hold, a new container at the path is read.
  container({tableModule("daxo_META", metadata({"7", "8", "9"}))});
  EXPECT_EQ(reader.getStrIdToTraceId("daxo"), (std::vector<int32_t>{7, 8, 9}));
}

TEST_F(TraceLmcReaderTest, ModuleNameMatchesLoosely) {
  TraceLmcReader reader(container({tableModule("Daxo 1_META", metadata({"1", "2", "3"}), 0)}));
  EXPECT_EQ(reader.getTraceObjectNames("DAXO1").size(), 3u);
  EXPECT_EQ(reader.getTraceObjectNames("daxo 1").size(), 3u);  // stored plainly: fresh each time
}

TEST_F(TraceLmcReaderTest, TraceIdsStopAtTheFirstThatDoesNotConvert) {
  TraceLmcReader reader(container({tableModule("a_META", metadata({"10", "11", "x12"})),
                                   tableModule("b_META", metadata({"1", "3000000000", "2"}))}));
  EXPECT_EQ(reader.getStrIdToTraceId("a"), (std::vector<int32_t>{10, 11}));
  EXPECT_EQ(reader.getStrIdToTraceId("b"), (std::vector<int32_t>{1}));  // out of range
  EXPECT_EQ(
      cap.count(Level::Error, "Exception 'stol' when transforming 3 traceId strings to integers"),
      2);
}

TEST_F(TraceLmcReaderTest, FailuresGiveEmptyListsAndALogLine) {
  TableBlobWriter none;
  const std::string path = container({tableModule("empty_META", none)});
  TraceLmcReader reader(path);
  EXPECT_TRUE(reader.getTraceObjectNames("empty").empty());
  EXPECT_TRUE(cap.has(Level::Error, "There are no tables in LM"));
  EXPECT_TRUE(cap.has(Level::Error, "Table with name traceobjname was not in set of 0 tables"));
  EXPECT_TRUE(reader.readTable("empty_META", "").empty());

  EXPECT_TRUE(reader.getTraceFormats("missing").empty());
  EXPECT_TRUE(cap.has(Level::Info, "Failed retrieving LM with identity missing_META in LMC"));
  EXPECT_TRUE(reader.readTable("", "x").empty());
  EXPECT_TRUE(cap.has(Level::Error, "No load module name was supplied"));

  TraceLmcReader unreadable(dir.file("nothing.lmc"));
  EXPECT_TRUE(unreadable.getTraceObjectNames("daxo").empty());
  EXPECT_TRUE(cap.has(Level::Error, "LMC path " + dir.file("nothing.lmc") + " is not readable"));
}

TEST_F(TraceLmcReaderTest, OnlyStringTablesAreExtracted) {
  TableBlobWriter b;
  b.addTable("binary", 5, {"raw"});
  b.addStringTable("names", {"x", "y"});
  b.addTable("other", 3, {"z"});
  TraceLmcReader reader(container({tableModule("m", b)}));
  EXPECT_EQ(reader.readTable("m", ""), (Strings{"binary", "names", "other"}));
  EXPECT_TRUE(cap.has(Level::Info, "Retrieving 3 table names"));
  EXPECT_EQ(reader.readTable("m", "names"), (Strings{"x", "y"}));
  EXPECT_TRUE(reader.readTable("m", "binary").empty());
  EXPECT_TRUE(cap.has(Level::Error, "Can not extract table type 5, expects string table type 0"));
  // The type printed is that of the first entry, whichever entry was asked for.
  cap.clear();
  EXPECT_TRUE(reader.readTable("m", "other").empty());
  EXPECT_TRUE(cap.has(Level::Error, "Can not extract table type 5, expects string table type 0"));
}

TEST_F(TraceLmcReaderTest, ProfileModuleIsExtractedOnceAndKept) {
  TableBlobWriter profiles;
  profiles.addStringTable("Basic", {"*;*;*.check"});
  profiles.addStringTable("Sched", {"*;*;*Scheduler.trace1", "*;1;x.*"});
  const std::string path = container({tableModule("bbDiagProfiles", profiles)});
  TraceLmcReader reader(path);
  EXPECT_EQ(reader.getProfileNames(), (Strings{"Basic", "Sched", "DefaultProfile"}));
  EXPECT_EQ(reader.getProfile("Sched"), (Strings{"*;*;*Scheduler.trace1", "*;1;x.*"}));
  EXPECT_EQ(reader.getProfile("DefaultProfile"),
            (Strings{"*;*;*.check", "*;*;*.error", "*;*;*.info", "*;*;*.interface"}));
  EXPECT_EQ(countPrefix("Open mapped file: "), 1);

  // A new container at the path is not seen by this reader.
  TableBlobWriter other;
  other.addStringTable("New", {"*;*;*.info"});
  container({tableModule("bbDiagProfiles", other)});
  EXPECT_EQ(reader.getProfileNames(), (Strings{"Basic", "Sched", "DefaultProfile"}));
  EXPECT_EQ(countPrefix("Open mapped file: "), 1);
}

TEST_F(TraceLmcReaderTest, MissingProfileModuleIsLookedForOnceAndTheDefaultNeedsNone) {
  TraceLmcReader reader(container({tableModule("daxo_META", metadata({"1", "2", "3"}))}));
  EXPECT_EQ(reader.getProfileNames(), (Strings{"DefaultProfile"}));
  EXPECT_TRUE(reader.getProfile("Basic").empty());
  EXPECT_TRUE(reader.getProfile("Other").empty());
  EXPECT_EQ(countPrefix("Open mapped file: "), 1);
  EXPECT_EQ(cap.count(Level::Info, "Failed retrieving LM with identity bbDiagProfiles in LMC"), 3);
  // The default profile needs no file at all.
  TraceLmcReader none(dir.file("none.lmc"));
  EXPECT_EQ(none.getProfile("DefaultProfile").size(), 4u);
  EXPECT_EQ(none.getProfileNames(), (Strings{"DefaultProfile"}));
}

}  // namespace
