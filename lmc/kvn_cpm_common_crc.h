#pragma once
// CRC of container and module headers: the remainder of the bytes, taken as a polynomial,
// modulo x^16 + x^12 + x^5 + 1. Unlike the common table-driven form, each byte is shifted into
// the low end of the state and no zero bytes are appended, which is what the files carry.

#include <cstddef>
#include <cstdint>

class KvnCpmCommon_crc {
 public:
  static const uint16_t crc16Table[256];

  static uint16_t crc16(uint16_t initial, const void* addr, size_t length);
};
