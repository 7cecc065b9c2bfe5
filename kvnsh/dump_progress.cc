#include "kvnsh/dump_progress.h"

#include <stdio.h>
#include <unistd.h>

namespace kvnsh {

void DumpProgress::add(size_t bytes) {
  bytes_ += bytes;
  const Clock::time_point now = Clock::now();
  if (drawn_ && now - lastDraw_ < kRedraw) return;
  lastDraw_ = now;
  const double seconds = std::chrono::duration<double>(now - start_).count();
  const double rate = seconds > 0 ? bytes_ / seconds / 1024.0 : 0.0;
  char line[96];
  const int n = snprintf(line, sizeof line, "\r\033[Kdump: %zu bytes, %.0f KiB/s", bytes_, rate);
  if (n > 0 && ::write(fd_, line, static_cast<size_t>(n)) == n) drawn_ = true;
}

void DumpProgress::clear() {
  if (!drawn_) return;
  static const char kClear[] = "\r\033[K";
  if (::write(fd_, kClear, sizeof kClear - 1) < 0) return;  // nothing more to do for a terminal
  drawn_ = false;
}

}  // namespace kvnsh
