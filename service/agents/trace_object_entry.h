#pragma once
// One trace object of an agent, as its container lists it, with the mask last sent.

#include <stdint.h>

#include <string>

namespace kvn {

struct TraceObjectEntry {
  uint16_t strId = 0;  // index in the container's tables
  uint16_t traceId = 0;
  std::string name;
  uint32_t mask = 0;
};

}  // namespace kvn
