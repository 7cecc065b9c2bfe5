#include "lmc-tool/lmc_description.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "lmc/kvn_cpm_common_lm_hdl_lmc.h"
#include "tracetables/profile_provider.h"
#include "tracetables/trace_lmc_reader.h"
#include "util/testing/scratch_dir.h"

namespace {

using kvn::lmc::LmcDescription;
using kvn::testing::ScratchDir;
using Strings = std::vector<std::string>;

std::string errorOf(const std::string& json) {
  try {
    LmcDescription::parse(json, ".").build();
  } catch (const std::exception& e) {
    return e.what();
  }
  return "";
}

TEST(LmcDescription, AgentMetadataAndProfilesReadBackThroughTheReaders) {
  ScratchDir dir;
  dir.write("image.bin", std::string("\x01\x02\x00\x03", 4));
  const std::string json = R"({
    "format_version": 0, "product_number": "CXP 9", "product_revision": "R1",
    "modules": [
      {"identity": "daxo", "file": "image.bin", "compression": 1, "gzip": true,
       "data_header": [1, 2, 3]},
      {"metadata": {"load_module": "daxo",
                    "trace_objects": [{"name": "objA", "trace_id": 7},
                                      {"name": "objB", "trace_id": 65535}],
                    "formats": ["f %d"],
                    "utrace": [{"name": "objA.p", "id": 9, "default": true},
                               {"name": "objB.q", "id": 10}],
                    "trace_strings": ["s0", "s1"]}},
      {"profiles": {"Z": ["*;*;objA.*"], "A": ["signal:x;*;incoming;*", "*;*;*.error"]},
       "flight_recorder": "A"},
      {"identity": "raw", "compression": 0,
       "tables": {"t": ["1", "2"], "bin": {"type": 4, "strings": ["b"]}}}
    ]})";
  dir.write("d.json", json);
  LmcDescription::load(dir.file("d.json")).writeFile(dir.file("c.lmc"));

  kvntrace::TraceLmcReader reader(dir.file("c.lmc"));
  EXPECT_EQ(reader.getTraceObjectNames("daxo"), (Strings{"objA", "objB"}));
  EXPECT_EQ(reader.getStrIdToTraceId("daxo"), (std::vector<int32_t>{7, 65535}));
  EXPECT_EQ(reader.getTraceFormats("daxo"), (Strings{"f %d"}));
  EXPECT_EQ(reader.getUtraceMeta("daxo"), (Strings{"objA.p,9,1", "objB.q,10,0"}));
  EXPECT_EQ(reader.readMetadataTable("daxo", "tracestr"), (Strings{"s0", "s1"}));
  EXPECT_EQ(reader.readTable("raw", ""), (Strings{"t", "bin"}));  // order as written
  EXPECT_EQ(reader.getProfileNames(), (Strings{"Z", "A", ".flight_recorder", "DefaultProfile"}));

  kvntrace::ProfileProvider provider(dir.file("c.lmc"));
  provider.populate();
  EXPECT_EQ(provider.getFlightRecorderProfile().getName(), "A");

  KvnCpmCommon_lmHdlLmc lmc(dir.file("c.lmc"));
  EXPECT_EQ(lmc.getHeaderLength(), 52u);
  std::string image;
  ASSERT_TRUE(lmc.saveToString("daxo", image, true));
  EXPECT_EQ(image, std::string("\x01\x02\x00\x03", 4));
  EXPECT_EQ(lmc.getLm("daxo")->getDataHeader()->value[2], 3u);
}

TEST(LmcDescription, MistakesAreNamedWithTheirPlace) {
  EXPECT_NE(errorOf("{").find("description is not valid JSON"), std::string::npos);
  EXPECT_EQ(errorOf(R"({"modules": []})"), "modules: must be a list of at least one module");
  EXPECT_EQ(errorOf(R"({"modulez": []})"), "description: unknown key \"modulez\"");
  EXPECT_EQ(errorOf(R"({"modules": [{"identity": "a", "text": "x", "compresion": 1}]})"),
            "modules[0]: unknown key \"compresion\"");
  EXPECT_EQ(errorOf(R"({"modules": [{"identity": "a", "text": "x", "file": "y"}]})"),
            "modules[0]: needs exactly one of \"file\", \"text\", \"tables\", \"metadata\", "
            "\"profiles\"");
  EXPECT_EQ(errorOf(R"({"modules": [{"identity": "a", "text": "x", "compression": 2}]})"),
            "modules[0].compression: must be a whole number from 0 to 1");
  EXPECT_EQ(errorOf(R"({"modules": [{"text": "x"}]})"), "modules[0]: needs an \"identity\"");
  EXPECT_EQ(errorOf(R"({"modules": [{"identity": "a", "tables": {"t": [1]}}]})"),
            "modules[0].tables.t[0]: must be a string");
  EXPECT_NE(errorOf(R"({"modules": [{"identity": "0123456789012345678901234567890123",
                                    "text": "x"}]})")
                .find("does not fit its field of 32 bytes"),
            std::string::npos);
  EXPECT_NE(errorOf(R"({"header_bytes": 90, "modules": [{"identity": "a", "text": "x"}]})")
                .find("Header length 90 is not valid for format version 1"),
            std::string::npos);
  EXPECT_EQ(errorOf(R"({"modules": [{"identity": "a", "file": "/no/such/file"}]})"),
            "modules[0].file: cannot read /no/such/file");
}

}  // namespace
