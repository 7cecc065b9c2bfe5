#pragma once
// The transport destination ports of one agent. Made at each connect of an agent that deploys
// the trace destination function.

#include <stdint.h>

namespace kvn {

class TraceDestPortPool {
 public:
  explicit TraceDestPortPool(uint16_t bbmHwNumber) : bbmHwNumber_(bbmHwNumber) {}

  uint16_t bbmHwNumber() const { return bbmHwNumber_; }

 private:
  uint16_t bbmHwNumber_;
};

}  // namespace kvn
