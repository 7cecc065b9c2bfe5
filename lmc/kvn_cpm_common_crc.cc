#include "lmc/kvn_cpm_common_crc.h"

namespace {

struct Crc16Table {
  uint16_t v[256];
  constexpr Crc16Table() : v() {
    for (int i = 0; i < 256; ++i) {
      uint16_t c = static_cast<uint16_t>(i << 8);
      for (int b = 0; b < 8; ++b) {
        c = static_cast<uint16_t>((c & 0x8000) ? (c << 1) ^ 0x1021 : c << 1);
      }
      v[i] = c;
    }
  }
};

constexpr Crc16Table kTable;
static_assert(kTable.v[1] == 0x1021 && kTable.v[255] == 0x1EF0, "MSB-first table of 0x1021");

}  // namespace

const uint16_t KvnCpmCommon_crc::crc16Table[256] = {
#define KVN_CRC_ROW(i)                                                                          \
  kTable.v[i], kTable.v[i + 1], kTable.v[i + 2], kTable.v[i + 3], kTable.v[i + 4],              \
      kTable.v[i + 5], kTable.v[i + 6], kTable.v[i + 7], kTable.v[i + 8], kTable.v[i + 9],      \
      kTable.v[i + 10], kTable.v[i + 11], kTable.v[i + 12], kTable.v[i + 13], kTable.v[i + 14], \
      kTable.v[i + 15]
    KVN_CRC_ROW(0),   KVN_CRC_ROW(16),  KVN_CRC_ROW(32),  KVN_CRC_ROW(48),
    KVN_CRC_ROW(64),  KVN_CRC_ROW(80),  KVN_CRC_ROW(96),  KVN_CRC_ROW(112),
    KVN_CRC_ROW(128), KVN_CRC_ROW(144), KVN_CRC_ROW(160), KVN_CRC_ROW(176),
    KVN_CRC_ROW(192), KVN_CRC_ROW(208), KVN_CRC_ROW(224), KVN_CRC_ROW(240),
#undef KVN_CRC_ROW
};

uint16_t KvnCpmCommon_crc::crc16(uint16_t initial, const void* addr, size_t length) {
  const auto* p = static_cast<const uint8_t*>(addr);
  uint16_t s = initial;
  for (size_t i = 0; i < length; ++i) {
    const uint16_t t = crc16Table[s >> 8];
    s = static_cast<uint16_t>((((s & 0xFF) ^ (t >> 8)) << 8) | (p[i] ^ (t & 0xFF)));
  }
  return s;
}
