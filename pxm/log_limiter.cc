#include "pxm/log_limiter.h"

namespace pxm {

void LogLimiter::roll(Clock::time_point now) {
  if (now - start_ < window_) return;
  start_ = now;
  lines_ = 0;
  overdue_ += heldBack_;
  heldBack_ = 0;
}

bool LogLimiter::allow(Clock::time_point now) {
  roll(now);
  if (lines_ < burst_) {
    ++lines_;
    return true;
  }
  ++heldBack_;
  return false;
}

size_t LogLimiter::takeHeldBack(Clock::time_point now) {
  roll(now);
  const size_t n = overdue_;
  overdue_ = 0;
  return n;
}

}  // namespace pxm
