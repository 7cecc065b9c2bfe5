#pragma once
// The 12-byte header that opens every routine-addressed message, and the numbers of the shell
// protocol that travel in it. The first word is the mailbox signal number in host order; the
// three routine fields behind it are big-endian.

#include <stddef.h>
#include <stdint.h>

#include "base/big_endian.h"

namespace kvnsh {

inline constexpr uint32_t kRoutineSignal = 0x170802D;
inline constexpr size_t kHeaderSize = 12;
inline constexpr uint32_t kProtocolVersion = 1;
// The service's command session factory.
inline constexpr uint16_t kFactoryRoutine = 1;

enum SubMsg : uint16_t {
  kRequest = 3,
  kAbort = 4,
  kAccepted = 5,
  kRefused = 6,
  kEnded = 7,
  kText = 8,
};

// Message sizes the service relies on.
inline constexpr size_t kAbortSize = 12;
inline constexpr size_t kRefusedSize = 20;
inline constexpr size_t kEndedSize = 14;
inline constexpr size_t kTextHeadSize = 18;  // header, sequence, stream, length
inline constexpr size_t kConfirmSize = 14;
inline constexpr size_t kRequestHeadSize = 20;

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
