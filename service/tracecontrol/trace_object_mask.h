#pragma once
// The whole group mask of one trace object, as it is sent to the agent.

#include <stdint.h>

namespace kvn {

struct TraceObjectMask {
  uint16_t strId = 0;
  uint32_t mask = 0;
};

}  // namespace kvn
