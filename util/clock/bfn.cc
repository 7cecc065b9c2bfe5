#include "util/clock/bfn.h"

#include "tracing/log.h"

namespace kvn {

namespace {
constexpr std::chrono::nanoseconds kWrap = std::chrono::milliseconds(40960);
}  // namespace

std::chrono::nanoseconds toDuration(Bfn bfn) {
  // 150 itself passes although it is one past the last sub-frame; agents send it so.
  if (bfn.subFrame() > 150) CPMUTIL_LOG_ERROR("Invalid bfn %u", bfn.value());
  // Ticks of 1/15.36 MHz. The fraction's factor is 4 although the field counts to 15: so the
  // agents count, and a frame (153600 ticks) comes out as exactly 10 ms.
  const uint64_t ticks =
      ((uint64_t{bfn.frame()} * 150 + bfn.subFrame()) * 256 + bfn.chip()) * 4 + bfn.fraction();
  return std::chrono::nanoseconds(static_cast<int64_t>(ticks * 3125 / 48));
}

std::chrono::nanoseconds bfnDuration(Bfn from, Bfn to) {
  const std::chrono::nanoseconds a = toDuration(from);
  std::chrono::nanoseconds b = toDuration(to);
  if (b < a) b += kWrap;
  return b - a;
}

}  // namespace kvn
