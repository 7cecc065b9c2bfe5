#pragma once
// A baseband frame number: the radio's own clock, which agents stamp next to (or instead of)
// wall time. Turns it into a duration from the counter's origin, and measures the distance
// between two of them across the wrap of the counter (4096 frames, 40960 ms).

#include <stdint.h>

#include <chrono>

namespace kvn {

class Bfn {
 public:
  constexpr explicit Bfn(uint32_t value) : value_(value) {}
  static constexpr Bfn of(uint32_t frame, uint32_t subFrame, uint32_t chip, uint32_t fraction) {
    return Bfn((frame & 0xFFF) << 20 | (subFrame & 0xFF) << 12 | (chip & 0xFF) << 4 |
               (fraction & 0xF));
  }

  constexpr uint32_t value() const { return value_; }
  constexpr uint32_t frame() const { return value_ >> 20; }
  constexpr uint32_t subFrame() const { return (value_ >> 12) & 0xFF; }
  constexpr uint32_t chip() const { return (value_ >> 4) & 0xFF; }
  constexpr uint32_t fraction() const { return value_ & 0xF; }

 private:
  uint32_t value_;
};

// The time since the origin of the counter. A sub-frame above 150 is logged and still counted.
std::chrono::nanoseconds toDuration(Bfn bfn);

// From `from` to `to`, one wrap of the counter added when `to` lies before `from`.
std::chrono::nanoseconds bfnDuration(Bfn from, Bfn to);

}  // namespace kvn
