#pragma once
// One unique trace point of an agent, in the container's order.

#include <stdint.h>

#include <string>

namespace kvn {

struct UtracePoint {
  std::string name;
  uint16_t id = 0;
  bool enabled = false;
  bool isDefault = false;  // the state the agent starts with
};

}  // namespace kvn
