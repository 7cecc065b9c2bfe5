#include "lmc/kvn_cpm_common_crc.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

uint16_t crcOf(const void* p, size_t n) { return KvnCpmCommon_crc::crc16(0, p, n); }

TEST(Crc16, CheckValues) {
  EXPECT_EQ(crcOf("123456789", 9), 0xBEEF);
  const uint8_t one[] = {0x01};
  EXPECT_EQ(crcOf(one, 1), 0x0001);
  const uint8_t shifted[] = {0x01, 0x00, 0x00};
  EXPECT_EQ(crcOf(shifted, 3), 0x1021);
  EXPECT_EQ(crcOf("", 0), 0x0000);
  // Bytes above 0x7F handed over as char text: the same remainder whether char is signed (a
  // desktop) or unsigned (the ARM target).
  EXPECT_EQ(crcOf("\x80\xC4\xFF\x7F", 4), 0x7D2F);
}

TEST(Crc16, WithTwoZeroBytesAppendedIsXmodem) {
  const char msg[] = "123456789\0\0";
  EXPECT_EQ(crcOf(msg, 11), 0x31C3);  // CRC-16/XMODEM check value
}

TEST(Crc16, InitialValueContinuesARun) {
  const char* msg = "load module container";
  const size_t n = std::strlen(msg);
  EXPECT_EQ(KvnCpmCommon_crc::crc16(crcOf(msg, 7), msg + 7, n - 7), crcOf(msg, n));
}

}  // namespace
