#include "decode/record_decoder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "decode/dump_file.h"

namespace kvn::decode {
namespace {

// A record header of `kind` for object `id`, group `group` and format `format`, followed by
// `payload`; the length is what the bytes make.
std::vector<uint8_t> record(uint8_t kind, uint16_t id, uint8_t group, uint16_t format,
                            uint16_t argCount, std::vector<uint8_t> payload, uint16_t seq = 0) {
  std::vector<uint8_t> r;
  const auto be16 = [&r](size_t v) { r.insert(r.end(), {uint8_t(v >> 8), uint8_t(v)}); };
  be16(26 + payload.size());
  r.insert(r.end(), {kind, 4, 1, group});  // lpp, agent 1
  be16(seq);
  // bfn 0, 2017-01-01 00:00:00 and 7 us
  r.insert(r.end(), {0, 0, 0, 0, 0x58, 0x68, 0x46, 0x80, 0, 0, 0, 7});
  be16(id);
  be16(format);
  be16(argCount);
  r.insert(r.end(), payload.begin(), payload.end());
  return r;
}

class RecordDecoderTest : public ::testing::Test {
 protected:
  RecordDecoderTest() {
    tables.objectNames = {"obj", "ulScheduler"};
    tables.formats = {"obj", "ue %d prb %s"};
  }
  AgentTables tables;
  std::string out;
};

TEST_F(RecordDecoderTest, SkipsWhatItCannotReadAndGoesOn) {
  std::vector<uint8_t> dump = {'L', 'P', 'P', '\n'};
  auto add = [&](const std::vector<uint8_t>& b) { dump.insert(dump.end(), b.begin(), b.end()); };
  add(record(1, 1, 5, 1, 2, {0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 3}, 0));  // at 4
  add(record(1, 9, 5, 1, 0, {}, 1));                                    // at 38: no object 9
  add({0xDE, 0xAD, 0xBE, 0xEF});                                        // at 64
  add(record(3, 0xFFFF, 0xFF, 0, 0, {'m', '\n', 'k', 0}, 5));           // at 68
  add({0x00, 0x40, 0x01});                                              // at 98: cut off
  RecordDecoder decoder(tables, RecordDecoder::Output::kText, out);
  decoder.decode(dump.data(), dump.size());
  decoder.summary();
  // The container's "%s" is printed as it stands, and the operator's line feed escaped.
  EXPECT_EQ(out,
            "2017-01-01 00:00:00.000007 bfn 0x00000000 daxo 1 lpp ulScheduler trace1 "
            "ue -1 prb %s\n"
            "offset 38: unknown object 9, 26 bytes skipped\n"
            "offset 64: cannot read a record: a length that no record has, 4 bytes skipped\n"
            "2017-01-01 00:00:00.000007 bfn 0x00000000 daxo 1 lpp echo text m\\nk\n"
            "offset 98: cannot read a record: fewer bytes than a record header, 3 bytes skipped\n"
            "-- 2 records, 3 unreadable\n"
            "source lpp: 2\n"
            "echo text: 1\n"
            "ulScheduler trace1: 1\n"
            "gaps: 0 in 0 datagrams, 1 in the sources' record sequences\n");
  EXPECT_EQ(decoder.unreadable(), 3u);
}

TEST_F(RecordDecoderTest, ADatagramStreamCountsItsGapsAndStopsAtTheLimit) {
  RecordDecoder decoder(tables, RecordDecoder::Output::kJson, out);
  decoder.setLimit(2);
  for (uint32_t seq : {7u, 9u}) {
    std::vector<uint8_t> d = {0, 0, 0, uint8_t(seq)};
    const std::vector<uint8_t> r = record(1, 0, 0, 0, 0, {}, static_cast<uint16_t>(seq));
    d.insert(d.end(), r.begin(), r.end());
    decoder.decodeDatagram(d.data(), d.size());
  }
  EXPECT_TRUE(decoder.limitReached());
  decoder.summary();
  EXPECT_NE(out.find(R"("object":"obj")"), std::string::npos) << out;
  EXPECT_NE(out.find(R"("group":"check")"), std::string::npos) << out;
  EXPECT_NE(out.find(R"("datagramGaps":1)"), std::string::npos) << out;
  EXPECT_NE(out.find(R"("offset":34)"), std::string::npos) << out;  // second datagram's record
}

TEST(DumpFileTest, TellsBase64FromRawAndDecodesIt) {
  const std::string text = "TFBQCgAa\nAwQB/w==\n";  // "LPP\n" 00 1A 03 04 01 FF
  const std::vector<uint8_t> in(text.begin(), text.end());
  EXPECT_TRUE(DumpFile::isBase64(in));
  EXPECT_EQ(DumpFile::decodeBase64(in),
            (std::vector<uint8_t>{'L', 'P', 'P', '\n', 0x00, 0x1A, 0x03, 0x04, 0x01, 0xFF}));
  EXPECT_FALSE(DumpFile::isBase64({'L', 'P', 'P', '\n', 0x00}));
  EXPECT_THROW(DumpFile::decodeBase64({'Q', 'Q', '=', '=', 'Q'}), DumpFile::Error);
}

}  // namespace
}  // namespace kvn::decode
