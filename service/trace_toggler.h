#pragma once
// Carries out the operator's switches of trace objects, utrace points and profiles on one
// agent. Made at each connect with the agent's number.

#include <stdint.h>

namespace kvn {

class TraceToggler {
 public:
  explicit TraceToggler(uint16_t bbmHwNumber) : bbmHwNumber_(bbmHwNumber) {}
  virtual ~TraceToggler() = default;

  uint16_t bbmHwNumber() const { return bbmHwNumber_; }

 private:
  uint16_t bbmHwNumber_;
};

}  // namespace kvn
