#include "lmc/kvn_cpm_common_lm_hdl_lmc.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdio>
#include <string>

#include "base/big_endian.h"
#include "lmc-tool/lmc_writer.h"
#include "lmc/kvn_cpm_common_crc.h"
#include "tracing/log_capture.h"
#include "util/testing/scratch_dir.h"

namespace {

using kvn::lmc::LmcWriter;
using kvn::lmc::LmDefinition;
using kvn::log::Level;
using kvn::log::LogCapture;
using kvn::testing::ScratchDir;

LmDefinition module(const std::string& identity, const std::string& content, uint16_t ca = 0,
                    bool gzip = false) {
  LmDefinition m;
  m.identity = identity;
  m.role = "dsp";
  m.compression = ca;
  m.gzip = gzip;
  m.dataHeader = {0x11223344, 5, 0xFFFFFFFF};
  m.content = content;
  return m;
}

std::string bigText(size_t n) {
  std::string s;
  for (size_t i = 0; s.size() < n; ++i)
    s += "trace point " + std::to_string(i * 7919 % 10007) + ";";
  s.resize(n);
  return s;
}

class LmcTest : public ::testing::Test {
 protected:
  std::string containerOf(std::initializer_list<LmDefinition> modules, uint16_t fv = 1) {
    LmcWriter w;
    w.header().formatVersion = fv;
    for (const LmDefinition& m : modules) w.addModule(m);
    return dir.write("c.lmc", w.build());
  }

  ScratchDir dir;
  LogCapture cap;
};

// Header lengths per version, as the reader takes them; the HLEN word is patched after a
// valid header is written, since the check comes before the CRC.
TEST_F(LmcTest, HeaderLengthRulesOfEachVersion) {
  struct Case {
    uint16_t fv;
    uint16_t hlen;
    bool ok;
  } cases[] = {{0, 26, true},  {1, 44, true},  {1, 60, true},  {1, 28, false}, {1, 29, false},
               {1, 45, false}, {1, 36, false}, {0, 44, false}, {0, 27, false}};
  for (const Case& c : cases) {
    SCOPED_TRACE("FV " + std::to_string(c.fv) + " HLEN " + std::to_string(c.hlen));
    LmcWriter w;
    w.header().formatVersion = c.fv;
    if (c.ok) w.header().headerBytes = c.hlen * 2u;
    w.addModule(module("lm", "data"));
    std::string bytes = w.build();
    kvn::storeBe16(&bytes[2], c.hlen);
    cap.clear();
    KvnCpmCommon_lmHdlLmc lmc(dir.write("c.lmc", bytes));
    EXPECT_EQ(lmc.isOpen(), c.ok);
    EXPECT_EQ(cap.has(Level::Error, "HLEN " + std::to_string(c.hlen) + " invalid"), !c.ok);
    std::string id = "lm";
    EXPECT_EQ(lmc.findIdentity(id), c.ok);
  }
}

TEST_F(LmcTest, RefusedHeadersLogWhy) {
  LmcWriter version;
  version.addModule(module("lm", "x"));
  std::string bytes = version.build();
  kvn::storeBe16(&bytes[0], 2);
  KvnCpmCommon_lmHdlLmc badVersion(dir.write("v.lmc", bytes));
  EXPECT_TRUE(cap.has(Level::Error, "Not supported LMC version 2."));

  LmcWriter lmct;
  lmct.header().lmct = 22;
  lmct.addModule(module("lm", "x"));
  KvnCpmCommon_lmHdlLmc badType(dir.write("t.lmc", lmct.build()));
  EXPECT_TRUE(cap.has(Level::Error, "LMC header LMCT value '22' not valid."));

  LmcWriter none;
  none.header().lmCount = 0;
  none.addModule(module("lm", "x"));
  KvnCpmCommon_lmHdlLmc empty(dir.write("n.lmc", none.build()));
  EXPECT_TRUE(cap.has(Level::Error, "No LMs in container"));

  LmcWriter crc;
  crc.addModule(module("lm", "x"));
  crc.header().badCrc = true;
  bytes = crc.build();
  const uint16_t good = KvnCpmCommon_crc::crc16(0, bytes.data(), 88 - 4);
  char msg[80];
  snprintf(msg, sizeof msg, "LMC header CRC incorrect, lmc_crc 0x%x, crc 0x%x", good ^ 0x5A5A,
           good);
  KvnCpmCommon_lmHdlLmc badCrc(dir.write("c.lmc", bytes));
  EXPECT_TRUE(cap.has(Level::Error, msg));

  for (const auto* lmc : {&badVersion, &badType, &empty, &badCrc}) {
    EXPECT_FALSE(lmc->isOpen());
    EXPECT_EQ(lmc->getLm("lm"), nullptr);
  }
  EXPECT_EQ(cap.count(Level::Error, "Failed to init Lmc class for : " + dir.file("c.lmc")), 1);
}

TEST_F(LmcTest, MissingOrEmptyFileGivesAContainerWithoutModules) {
  const std::string missing = dir.file("missing.lmc");
  KvnCpmCommon_lmHdlLmc none(missing);
  std::string id = "lm";
  EXPECT_FALSE(none.findIdentity(id));
  EXPECT_FALSE(none.saveToString("lm", id, false));
  EXPECT_EQ(none.getNumberOfLms(), 0);
  // The mapper says nothing of a path that does not exist.
  EXPECT_EQ(cap.count(Level::Error, "Failed to init Lmc class for : " + missing), 1);
  EXPECT_EQ(cap.lines().front().msg, "Failed to init Lmc class for : " + missing);

  const std::string empty = dir.write("empty.lmc", "");
  KvnCpmCommon_lmHdlLmc zero(empty);
  EXPECT_TRUE(cap.has(Level::Error, "mmap of " + empty + " failed: Invalid argument"));
  EXPECT_TRUE(cap.has(Level::Error, "Failed to map: " + empty));
  EXPECT_FALSE(zero.isOpen());
}

TEST_F(LmcTest, FourDataLayoutsExtractTheContentWithoutTheDataHeader) {
  const std::string content = bigText(100000);  // several 32 KiB chunks
  struct Case {
    uint16_t ca;
    bool gzip;
  } cases[] = {{0, false}, {0, true}, {1, false}, {1, true}};
  for (const Case& c : cases) {
    SCOPED_TRACE("CA " + std::to_string(c.ca) + " gzip " + std::to_string(c.gzip));
    const std::string path = containerOf({module("lm", content, c.ca, c.gzip)});
    KvnCpmCommon_lmHdlLmc lmc(path);
    ASSERT_TRUE(lmc.isOpen());
    std::string out = "old";
    ASSERT_TRUE(lmc.saveToString("lm", out, c.gzip));
    EXPECT_EQ(out, content);
    const KvnCpmCommon_lmDataHeader* dh = lmc.getLm("lm")->getDataHeader();
    ASSERT_NE(dh, nullptr);
    EXPECT_EQ(dh->value[0], 0x11223344u);
    EXPECT_EQ(dh->value[1], 5u);
    EXPECT_EQ(dh->value[2], 0xFFFFFFFFu);

    const std::string file = dir.file("out.bin");
    KvnCpmCommon_lmHdlLmc again(path);
    ASSERT_TRUE(again.saveToFile("lm", file, c.gzip));
    EXPECT_EQ(ScratchDir::read(file), content);
  }
  EXPECT_TRUE(cap.has(
      Level::Info, "Saved load module: lm into: " + dir.file("out.bin") + "  size: 100000 bytes"));
  EXPECT_TRUE(cap.has(
      Level::Info, "Decompress and create file: " + dir.file("out.bin") + "  size: 100000 bytes"));
}

// The result is reserved from the compressed size; a module that deflates a thousandfold
// outgrows that many times over, one that hardly deflates stays far below it.
TEST_F(LmcTest, InflatedSizeFarFromTheCompressedSizeGivesTheWholeContent) {
  const std::string flat(3 << 20, 'a');
  std::string noise(300000, '\0');
  uint32_t x = 1;
  for (char& c : noise) c = static_cast<char>((x = x * 1103515245u + 12345u) >> 24);
  for (const std::string& content : {flat, noise}) {
    KvnCpmCommon_lmHdlLmc lmc(containerOf({module("lm", content, 1)}));
    std::string out;
    ASSERT_TRUE(lmc.saveToString("lm", out, false));
    EXPECT_TRUE(out == content);
  }
}

// zlib refuses to initialise a stream whose size is not its own, so an inflated extraction
// shows that the reader handed over this build's sizeof(z_stream): 56 on the 32-bit target.
TEST_F(LmcTest, ZlibGetsTheStreamSizeOfThisBuild) {
  EXPECT_EQ(sizeof(z_stream), sizeof(void*) == 4 ? 56u : 112u);
  z_stream strm{};
  EXPECT_EQ(inflateInit_(&strm, ZLIB_VERSION, sizeof(void*) == 4 ? 112 : 56), Z_VERSION_ERROR);

  KvnCpmCommon_lmHdlLmc lmc(containerOf({module("lm", "abc", 1, true)}));
  std::string out;
  ASSERT_TRUE(lmc.saveToString("lm", out, true));
  EXPECT_EQ(out, "abc");
}

TEST_F(LmcTest, IdentityMatchesWithoutBlanksAndCase) {
  EXPECT_EQ(KvnCpmCommon_lmHdlLmc::strCaseSpaceCmp("ab c", "A BC"), 0);
  EXPECT_EQ(KvnCpmCommon_lmHdlLmc::strCaseSpaceCmp("abc", "abc"), 0);
  EXPECT_EQ(KvnCpmCommon_lmHdlLmc::strCaseSpaceCmp("  ", ""), 0);
  EXPECT_EQ(KvnCpmCommon_lmHdlLmc::strCaseSpaceCmp("abc", "abd"), -1);
  EXPECT_EQ(KvnCpmCommon_lmHdlLmc::strCaseSpaceCmp("abd", "abc"), -1);  // no ordering
  EXPECT_EQ(KvnCpmCommon_lmHdlLmc::strCaseSpaceCmp("ab", "abc"), -1);
  EXPECT_EQ(KvnCpmCommon_lmHdlLmc::strCaseSpaceCmp("a\tb", "ab"), -1);  // only 0x20 is a blank

  KvnCpmCommon_lmHdlLmc lmc(containerOf({module("Abc 1", "one!"), module("other", "two")}));
  std::string id = "ABC1";
  ASSERT_TRUE(lmc.findIdentity(id));
  EXPECT_EQ(id, "Abc 1");
  EXPECT_NE(lmc.getLmDataAddr("a b c 1"), nullptr);
  std::string out;
  ASSERT_TRUE(lmc.saveToString("abc1", out, false));
  EXPECT_EQ(out, "one!");
  EXPECT_TRUE(cap.has(Level::Info, "LM Identity to save 'Abc 1' found, similar to 'abc1'"));
  EXPECT_FALSE(lmc.saveToString("abc", out, false));
  EXPECT_TRUE(cap.has(Level::Info, "LM Identity 'abc' not found"));
}

TEST_F(LmcTest, IdentitiesThatDifferInCaseOnlyMakeEverySearchFail) {
  KvnCpmCommon_lmHdlLmc lmc(containerOf({module("abc", "lower"), module("ABC", "upper")}));
  ASSERT_TRUE(lmc.isOpen());
  for (const char* wanted : {"abc", "ABC", "a bc"}) {
    std::string id = wanted;
    EXPECT_FALSE(lmc.findIdentity(id));
    EXPECT_EQ(lmc.getLm(wanted), nullptr);
  }
  // The walk goes in key order; the text logged is the key of the second match.
  EXPECT_EQ(cap.count(Level::Error, "More than one valid LM identity for abc"), 6);
}

TEST_F(LmcTest, ALaterModuleOfTheSameIdentityReplacesTheEarlierAndIsExtractedOnce) {
  KvnCpmCommon_lmHdlLmc lmc(containerOf({module("lm", "first"), module("lm", "second")}));
  ASSERT_TRUE(lmc.isOpen());
  EXPECT_EQ(lmc.getNumberOfLms(), 2);
  EXPECT_EQ(lmc.getLms().size(), 1u);
  std::string out;
  ASSERT_TRUE(lmc.saveToString("lm", out, false));
  EXPECT_EQ(out, "second");
  std::string again = "untouched";
  EXPECT_FALSE(lmc.saveToString("lm", again, false));
  EXPECT_TRUE(cap.has(Level::Error, "m_lmDataHeader_p already allocated"));
  EXPECT_EQ(again, "untouched");
}

TEST_F(LmcTest, TruncatedDeflateDataPassesWithWhatWasInflated) {
  const std::string content = bigText(200000);
  for (bool gzip : {false, true}) {
    LmDefinition m = module("lm", content, 1, gzip);
    m.faults.cutData = LmcWriter::encodeData(m).size() / 2;
    KvnCpmCommon_lmHdlLmc lmc(containerOf({m}));
    std::string out;
    ASSERT_TRUE(lmc.saveToString("lm", out, gzip));
    EXPECT_GT(out.size(), 0u);
    EXPECT_LT(out.size(), content.size());
    EXPECT_EQ(out, content.substr(0, out.size()));
  }
}

TEST_F(LmcTest, InflateFailures) {
  // Too little output for the data header in the first round.
  LmDefinition shortStream = module("short", "", 1);
  shortStream.faults.cutData = LmcWriter::encodeData(shortStream).size() - 4;
  // Not a zlib stream at all.
  LmDefinition garbage = module("garbage", std::string(64, 'x'));
  garbage.faults.ca = 1;
  KvnCpmCommon_lmHdlLmc lmc(containerOf({shortStream, garbage}));
  std::string out;
  EXPECT_FALSE(lmc.saveToString("short", out, false));
  EXPECT_TRUE(cap.has(Level::Error, "Not enough data to read lmDataHeader"));
  EXPECT_FALSE(lmc.saveToString("garbage", out, false));
  EXPECT_TRUE(cap.has(Level::Error, "inflate  failed: -3 -> incorrect header check"));
  // A zlib stream read with gzip framing.
  KvnCpmCommon_lmHdlLmc zlib(containerOf({module("lm", "abc", 1, false)}));
  EXPECT_FALSE(zlib.saveToFile("lm", dir.file("o"), true));
  EXPECT_EQ(cap.count(Level::Error, "inflate  failed: -3 -> incorrect header check"), 2);
}

TEST_F(LmcTest, ABadModuleEndsTheWalkKeepingEarlierModules) {
  LmDefinition badCrc = module("b", "2");
  badCrc.faults.badCrc = true;
  KvnCpmCommon_lmHdlLmc lmc(containerOf({module("a", "1"), badCrc, module("c", "3")}));
  EXPECT_FALSE(lmc.isOpen());
  EXPECT_NE(lmc.getLm("a"), nullptr);
  EXPECT_EQ(lmc.getLm("b"), nullptr);
  EXPECT_EQ(lmc.getLm("c"), nullptr);
  bool crcLogged = false;
  for (const auto& l : cap.lines()) {
    crcLogged |= l.msg.rfind("LM header CRC 0x", 0) == 0 &&
                 l.msg.find(" error, crc = 0x") != std::string::npos;
  }
  EXPECT_TRUE(crcLogged);

  LmDefinition version = module("b", "2");
  version.faults.lmfv = 2;
  LmDefinition ca = module("b", "2");
  ca.faults.ca = 2;
  KvnCpmCommon_lmHdlLmc badVersion(containerOf({module("a", "1"), version}));
  EXPECT_TRUE(cap.has(Level::Error, "LM header FV 2 with LMT 6 is not supported."));
  KvnCpmCommon_lmHdlLmc badCa(containerOf({module("a", "1"), ca}));
  EXPECT_TRUE(cap.has(Level::Error, "Compression algorithm not supported, CA = 2"));
  EXPECT_NE(badCa.getLm("a"), nullptr);
}

TEST_F(LmcTest, NothingIsReadPastTheEndOfTheFile) {
  LmcWriter w;
  w.addModule(module("a", "first module"));
  w.addModule(module("b", bigText(1000)));
  const std::string bytes = w.build();
  // Every cut of the file fails somewhere and reads only inside the mapping (ASan watches the
  // copy that each mapping is checked against in the sanitizer build).
  for (size_t len : {size_t{3}, size_t{60}, size_t{88}, size_t{150}, bytes.size() - 1}) {
    SCOPED_TRACE(len);
    KvnCpmCommon_lmHdlLmc lmc(dir.write("c.lmc", bytes.substr(0, len)));
    EXPECT_FALSE(lmc.isOpen());
    EXPECT_EQ(lmc.getLm("b"), nullptr);
  }
  EXPECT_TRUE(cap.has(Level::Error, "LMC of 3 bytes is too short for a header"));
  EXPECT_TRUE(
      cap.has(Level::Error, "LMC header of 88 bytes reaches past the end of the file, 60 bytes"));
  EXPECT_TRUE(cap.has(Level::Error, "LM header needs 104 bytes, only 0 left in the LMC"));

  LmDefinition longModule = module("a", "x");
  longModule.faults.nlm = 1000;
  LmDefinition longData = module("a", "x");
  longData.faults.dcl = 1000;
  KvnCpmCommon_lmHdlLmc nlm(containerOf({longModule}));
  KvnCpmCommon_lmHdlLmc dcl(containerOf({longData}));
  EXPECT_EQ(nlm.getLm("a"), nullptr);
  EXPECT_EQ(dcl.getLm("a"), nullptr);
  EXPECT_TRUE(
      cap.has(Level::Error, "LM a of 2000 bytes reaches past the end of the LMC, 118 bytes left"));
  EXPECT_TRUE(cap.has(Level::Error,
                      "LM a data of 2000 bytes reaches past the end of the LMC, 118 bytes left"));
}

TEST_F(LmcTest, ModuleInitRunsOnce) {
  LmcWriter w;
  w.addModule(module("lm", "x"));
  const std::string bytes = w.build();
  KvnCpmCommon_lmHdlLm lm;
  ASSERT_TRUE(lm.init(bytes.data() + 88, bytes.size() - 88));
  EXPECT_EQ(lm.getIdentity(), "lm");
  EXPECT_EQ(lm.getSize(), bytes.size() - 88);
  EXPECT_FALSE(lm.init(bytes.data() + 88, bytes.size() - 88));
  EXPECT_TRUE(cap.has(Level::Error, "Init can only be called once"));
}

}  // namespace
