#include "tracetables/table_blob_parser.h"

#include <gtest/gtest.h>

#include "base/big_endian.h"
#include "lmc-tool/table_blob_writer.h"
#include "tracing/log_capture.h"

namespace {

using kvn::lmc::TableBlobWriter;
using kvn::log::Level;
using kvn::log::LogCapture;
using kvntrace::TableBlobParser;
using Strings = std::vector<std::string>;

std::string blobOf(const Strings& a, const Strings& b) {
  TableBlobWriter w;
  w.addStringTable("a", a);
  w.addStringTable("b", b);
  return w.build();
}

TEST(TableBlobParser, StringsFollowEachOtherWithoutAlignment) {
  const std::string blob = blobOf({"", "x", "longer string"}, {"1"});
  EXPECT_EQ(TableBlobParser::listTableNames(blob), (Strings{"a", "b"}));
  EXPECT_EQ(TableBlobParser::extractStringTable(blob, "a"), (Strings{"", "x", "longer string"}));
  EXPECT_EQ(TableBlobParser::extractStringTable(blob, "b"), (Strings{"1"}));
  // The names table stands right after the directory.
  EXPECT_EQ(TableBlobParser::parseStringTable(blob, 8 * 3), (Strings{"a", "b"}));
}

TEST(TableBlobParser, FirstOfEqualNamesCounts) {
  TableBlobWriter w;
  w.addStringTable("t", {"first"});
  w.addStringTable("t", {"second"});
  EXPECT_EQ(TableBlobParser::extractStringTable(w.build(), "t"), (Strings{"first"}));
}

// A blob from an untrusted file: every lie about a length or an offset is refused.
TEST(TableBlobParser, NothingIsReadOutsideTheBlob) {
  LogCapture cap;
  const std::string good = blobOf({"abc", "def"}, {"g"});

  EXPECT_TRUE(TableBlobParser::listTableNames(good.substr(0, 6)).empty());
  EXPECT_TRUE(cap.has(Level::Error, "Table blob of 6 bytes is too short for its table count"));

  std::string manyTables = good;
  kvn::storeBe32(&manyTables[4], 0x40000000);
  EXPECT_TRUE(TableBlobParser::listTableNames(manyTables).empty());

  std::string badOffset = good;
  kvn::storeBe32(&badOffset[12], 0xFFFFFFF0);  // entry 0's offset
  EXPECT_TRUE(TableBlobParser::extractStringTable(badOffset, "a").empty());

  std::string hugeCount = good;
  const size_t tableA = kvn::loadBe32(&good[12]);
  kvn::storeBe32(&hugeCount[tableA], 0xFFFFFFFF);
  EXPECT_TRUE(TableBlobParser::extractStringTable(hugeCount, "a").empty());

  // The last string loses its NUL.
  const std::string noNul = good.substr(0, good.size() - 1);
  EXPECT_TRUE(TableBlobParser::extractStringTable(noNul, "b").empty());

  for (size_t len = 0; len < good.size(); ++len)
    TableBlobParser::extractStringTable(good.substr(0, len), "b");
  EXPECT_GE(cap.count(Level::Error, "String table of 4294967295 strings at offset " +
                                        std::to_string(tableA) + " runs off the blob of " +
                                        std::to_string(good.size()) + " bytes"),
            1);
}

}  // namespace
