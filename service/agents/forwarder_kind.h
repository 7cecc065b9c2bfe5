#pragma once
// The kinds of trace source and consumer that an agent's forwarder routines connect; they index
// the forwarder table of a DaxoRecord.

#include <stdint.h>

namespace kvn {

enum ForwarderKind : uint16_t {
  FORWARDER_TOKEN = 1,
  FORWARDER_RTT = 2,
  FORWARDER_LPP_TRACE = 3,
  FORWARDER_EMBUF = 4,
  FORWARDER_TN = 6,
  FORWARDER_EBCOM = 7,
  FORWARDER_LOGSERVER = 12,
};

// Legal indices of the forwarder table are 0 to kForwarderKindCount - 1.
constexpr uint16_t kForwarderKindCount = 17;

// "TOKEN", "RTT", ... for the named kinds, "UNKNOWN" for every other value.
const char* forwarderKindName(uint16_t kind);

}  // namespace kvn
