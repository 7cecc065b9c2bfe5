#pragma once
// One message from the service to the shell, read from its wire form: accepted (5), refused (6),
// ended (7) or text (8). The text points into the received message; nothing is copied.

#include <stddef.h>
#include <stdint.h>

#include "kvnsh/wire_header.h"

namespace kvnsh {

struct ServiceReply {
  WireHeader header;
  uint32_t reason = 0;    // refused
  uint8_t result = 0;     // ended
  uint16_t sequence = 0;  // text
  uint16_t stream = 0;    // text
  const uint8_t* text = nullptr;
  size_t length = 0;

  // False when the message is not routine-addressed or too short for its sub-message; the
  // fields are then not to be used. Sub-messages the shell does not know decode with the
  // header alone.
  static bool decode(const uint8_t* msg, size_t size, ServiceReply* out);
};

}  // namespace kvnsh
