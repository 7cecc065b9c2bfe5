#include "kvnsh/wire_header.h"

#include <string.h>

namespace kvnsh {

bool WireHeader::decode(const uint8_t* msg, size_t size, WireHeader* out) {
  if (size < kHeaderSize) return false;
  uint32_t signal;
  memcpy(&signal, msg, sizeof signal);
  if (signal != kKvnObsSignalNo) return false;
  out->dst = loadBe16(msg + 4);
  out->src = loadBe16(msg + 6);
  out->submsgno = loadBe16(msg + 8);
  return true;
}

void WireHeader::encode(uint8_t* msg) const {
  const uint32_t signal = kKvnObsSignalNo;
  memcpy(msg, &signal, sizeof signal);
  storeBe16(msg + 4, dst);
  storeBe16(msg + 6, src);
  storeBe16(msg + 8, submsgno);
  msg[10] = 0;
  msg[11] = 0;
}

}  // namespace kvnsh
