#include "kvnsh/wire_header.h"

#include <string.h>

namespace kvnsh {

uint16_t getBe16(const uint8_t* p) { return static_cast<uint16_t>(p[0] << 8 | p[1]); }

uint32_t getBe32(const uint8_t* p) {
  return static_cast<uint32_t>(p[0]) << 24 | static_cast<uint32_t>(p[1]) << 16 |
         static_cast<uint32_t>(p[2]) << 8 | p[3];
}

void putBe16(uint8_t* p, uint16_t v) {
  p[0] = static_cast<uint8_t>(v >> 8);
  p[1] = static_cast<uint8_t>(v);
}

void putBe32(uint8_t* p, uint32_t v) {
  p[0] = static_cast<uint8_t>(v >> 24);
  p[1] = static_cast<uint8_t>(v >> 16);
  p[2] = static_cast<uint8_t>(v >> 8);
  p[3] = static_cast<uint8_t>(v);
}

bool WireHeader::decode(const uint8_t* msg, size_t size, WireHeader* out) {
  if (size < kHeaderSize) return false;
  uint32_t signal;
  memcpy(&signal, msg, sizeof signal);
  if (signal != kRoutineSignal) return false;
  out->dst = getBe16(msg + 4);
  out->src = getBe16(msg + 6);
  out->submsgno = getBe16(msg + 8);
  return true;
}

void WireHeader::encode(uint8_t* msg) const {
  const uint32_t signal = kRoutineSignal;
  memcpy(msg, &signal, sizeof signal);
  putBe16(msg + 4, dst);
  putBe16(msg + 6, src);
  putBe16(msg + 8, submsgno);
  msg[10] = 0;
  msg[11] = 0;
}

}  // namespace kvnsh
