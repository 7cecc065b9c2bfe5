#pragma once
// Lets through at most `burst` lines per window and counts the rest, so that a flood of bad
// clients cannot flood the log; the count is reported once the window is over.

#include <chrono>
#include <cstddef>

namespace pxm {

class LogLimiter {
 public:
  using Clock = std::chrono::steady_clock;

  LogLimiter(size_t burst, Clock::duration window) : burst_(burst), window_(window) {}

  // Whether a line may be written at `now`; one not let through is counted.
  bool allow(Clock::time_point now);
  // Lines held back in windows that are over, and forgets them; 0 while the window lasts.
  size_t takeHeldBack(Clock::time_point now);

 private:
  void roll(Clock::time_point now);

  const size_t burst_;
  const Clock::duration window_;
  Clock::time_point start_{};
  size_t lines_ = 0;
  size_t heldBack_ = 0;  // in the current window
  size_t overdue_ = 0;   // in windows that are over, not yet reported
};

}  // namespace pxm
