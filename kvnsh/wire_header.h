#pragma once
// The 12-byte header that opens every routine-addressed message, read and written at any
// alignment. The first word is the mailbox signal number in host order; the three routine
// fields behind it are big-endian.

#include <stddef.h>
#include <stdint.h>

#include "base/big_endian.h"
#include "tavi/tavi_protocol.h"

namespace kvnsh {

// The shell protocol's numbers, records and sizes.
using namespace kvn::tavi;

struct WireHeader {
  uint16_t dst = 0;
  uint16_t src = 0;
  uint16_t submsgno = 0;

  // Reads the header of a message of `size` bytes; false when it is too short or does not
  // carry the routine signal.
  static bool decode(const uint8_t* msg, size_t size, WireHeader* out);
  // Writes signal number, routines and sub-message number, and zeroes the padding.
  void encode(uint8_t* msg) const;
};

// Big-endian fields of a message body.
using kvn::loadBe16;
using kvn::loadBe32;
using kvn::storeBe16;
using kvn::storeBe32;

}  // namespace kvnsh
