#pragma once
// One line on the operator's terminal while a dump runs: the bytes so far and the rate,
// redrawn at most a few times a second and cleared at the end.

#include <stddef.h>

#include <chrono>

namespace kvnsh {

class DumpProgress {
 public:
  using Clock = std::chrono::steady_clock;

  explicit DumpProgress(int fd) : fd_(fd), start_(Clock::now()) {}
  ~DumpProgress() { clear(); }

  void add(size_t bytes);
  // Removes the line, if one was drawn.
  void clear();

 private:
  static constexpr std::chrono::milliseconds kRedraw{250};

  int fd_;
  size_t bytes_ = 0;
  bool drawn_ = false;
  Clock::time_point start_;
  Clock::time_point lastDraw_{};
};

}  // namespace kvnsh
