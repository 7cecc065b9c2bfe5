#pragma once
// One utrace point's setting as the agent gets it: whether it differs from its default.

#include <stdint.h>

namespace kvn {

struct UtraceChange {
  uint16_t id = 0;
  bool differsFromDefault = false;
};

}  // namespace kvn
