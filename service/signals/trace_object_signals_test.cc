#include "service/signals/trace_object_signals.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

// A message buffer with room to spare, so that a conversion reaching past the message's own
// size would show in the spare bytes.
struct Buffer {
  explicit Buffer(size_t size) : bytes(size + 16, 0xAA), size(size) {}
  template <typename T>
  T* as() {
    return reinterpret_cast<T*>(bytes.data());
  }
  uint16_t be16(size_t off) const { return uint16_t(bytes[off] << 8 | bytes[off + 1]); }
  uint32_t be32(size_t off) const { return uint32_t(be16(off)) << 16 | be16(off + 2); }
  bool spareUntouched() const {
    for (size_t i = size; i < bytes.size(); ++i)
      if (bytes[i] != 0xAA) return false;
    return true;
  }
  std::vector<uint8_t> bytes;
  size_t size;
};

TEST(TraceObjectSignalsTest, SetMaskEntriesGoBigEndianAndComeBackWithinTheMessage) {
  const size_t size = KvnTraceObjectSetMaskReqS::sizeFor(2);
  ASSERT_EQ(size, 26u);
  Buffer buf(size);
  auto* req = buf.as<KvnTraceObjectSetMaskReqS>();
  req->count = 2;
  req->entries[0] = {7, 0x3FFFFF};
  req->entries[1] = {0x0102, 0x80000001};
  KvnTraceObjectSetMaskReqS::toNetwork(req, size);
  EXPECT_EQ(buf.be16(12), 2);
  EXPECT_EQ(buf.be16(14), 7);
  EXPECT_EQ(buf.be32(16), 0x3FFFFFu);
  EXPECT_EQ(buf.be16(20), 0x0102);
  EXPECT_EQ(buf.be32(22), 0x80000001u);

  KvnTraceObjectSetMaskReqS::toHost(req, size);
  EXPECT_EQ(+req->count, 2);
  EXPECT_EQ(+req->entries[1].strId, 0x0102);
  EXPECT_EQ(+req->entries[1].mask, 0x80000001u);
  EXPECT_TRUE(buf.spareUntouched());

  // A count beyond the message: only the entries that are there are turned.
  Buffer one(KvnTraceObjectSetMaskReqS::sizeFor(1));
  one.bytes[12] = 0xFF;  // a count of 65280, big-endian as received
  one.bytes[13] = 0x00;
  KvnTraceObjectSetMaskReqS::toHost(one.as<KvnTraceObjectSetMaskReqS>(), one.size);
  EXPECT_EQ(+one.as<KvnTraceObjectSetMaskReqS>()->count, 0xFF00);
  EXPECT_TRUE(one.spareUntouched());

  // Shorter than the count field itself.
  Buffer header(12);
  KvnTraceObjectSetMaskReqS::toHost(header.as<KvnTraceObjectSetMaskReqS>(), 12);
  EXPECT_TRUE(header.spareUntouched());
}

TEST(TraceObjectSignalsTest, InjectedTextArrivesInItsOwnOrder) {
  const size_t size = KvnTraceObjectInjectManualTraceUreqS::sizeFor(2);
  Buffer buf(size);
  auto* ind = buf.as<KvnTraceObjectInjectManualTraceUreqS>();
  ind->nrOfWords = 2;
  // The sender fills each 16-bit word of the text swapped; the conversion swaps it back.
  std::memcpy(buf.bytes.data() + 14, "badc", 4);
  KvnTraceObjectInjectManualTraceUreqS::toNetwork(ind, size);
  EXPECT_EQ(buf.be16(12), 2);
  EXPECT_EQ(std::memcmp(buf.bytes.data() + 14, "abcd", 4), 0);

  // The receiver turns the count only and reads the text as it stands.
  KvnTraceObjectInjectManualTraceUreqS::toHost(ind, size);
  EXPECT_EQ(+ind->nrOfWords, 2);
  EXPECT_EQ(std::memcmp(buf.bytes.data() + 14, "abcd", 4), 0);
}

}  // namespace
