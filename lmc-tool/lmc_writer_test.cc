#include "lmc-tool/lmc_writer.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>

#include "base/big_endian.h"
#include "lmc/kvn_cpm_common_crc.h"
#include "util/testing/scratch_dir.h"

namespace {

using kvn::loadBe16;
using kvn::loadBe32;
using kvn::lmc::LmcWriter;
using kvn::lmc::LmDefinition;

LmDefinition module(const std::string& id, const std::string& content) {
  LmDefinition m;
  m.identity = id;
  m.role = "r";
  m.snid = 77;
  m.content = content;
  return m;
}

TEST(LmcWriter, LaysOutHeaderAndModulesAsReadersExpect) {
  LmcWriter w;
  w.header().formatVersion = 1;
  w.header().headerBytes = 120;
  w.header().productNumber = "CXP 1";
  w.header().productRevision = "R2B";
  w.addModule(module("one", "odd"));  // 12 + 3 bytes: padded to 16
  w.addModule(module("two", "even"));
  const std::string b = w.build();
  EXPECT_EQ(loadBe16(&b[0]), 1);
  EXPECT_EQ(loadBe16(&b[2]), 60);
  EXPECT_EQ(loadBe16(&b[4]), 21);
  EXPECT_EQ(b.substr(6, 5), "CXP 1");
  EXPECT_EQ(b.substr(28, 3), "R2B");
  EXPECT_EQ(loadBe16(&b[110]), 2);
  EXPECT_EQ(loadBe16(&b[116]), KvnCpmCommon_crc::crc16(0, b.data(), 116));

  const char* lm = &b[120];
  EXPECT_EQ(loadBe16(lm), 3);
  EXPECT_EQ(loadBe16(lm + 2), 6);
  EXPECT_EQ(loadBe32(lm + 4), (104u + 16) / 2);
  EXPECT_STREQ(lm + 56, "one");
  EXPECT_EQ(loadBe32(lm + 88), 77u);
  EXPECT_EQ(loadBe32(lm + 96), 8u);
  EXPECT_EQ(loadBe16(lm + 102), KvnCpmCommon_crc::crc16(0, lm, 102));
  EXPECT_STREQ(&b[120 + 120 + 56], "two");
  EXPECT_EQ(b.size(), 120u + 120 + 120);
}

TEST(LmcWriter, RefusesWhatTheFormatCannotHold) {
  LmcWriter w;
  EXPECT_THROW(w.addModule(module(std::string(32, 'x'), "")), std::invalid_argument);
  EXPECT_NO_THROW(w.addModule(module(std::string(31, 'x'), "")));
  LmDefinition ca = module("ca", "");
  ca.compression = 2;
  EXPECT_THROW(w.addModule(ca), std::invalid_argument);
  w.header().headerBytes = 100;
  EXPECT_THROW(w.build(), std::invalid_argument);
  w.header().formatVersion = 0;
  w.header().headerBytes = 0;
  EXPECT_NO_THROW(w.build());
  w.header().formatVersion = 2;
  EXPECT_THROW(w.build(), std::invalid_argument);
}

TEST(LmcWriter, WriteFileLeavesNoTemporaryBehind) {
  kvn::testing::ScratchDir dir;
  LmcWriter w;
  w.addModule(module("a", "data"));
  w.writeFile(dir.file("c.lmc"));
  EXPECT_EQ(kvn::testing::ScratchDir::read(dir.file("c.lmc")), w.build());
  EXPECT_THROW(w.writeFile(dir.file("no/such/dir/c.lmc")), std::runtime_error);
  size_t files = 0;
  for (const auto& e : std::filesystem::directory_iterator(dir.path())) files += e.exists();
  EXPECT_EQ(files, 1u);
}

}  // namespace
