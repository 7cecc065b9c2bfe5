#pragma once
// What the main loop needs of its timers: run what is due, and say how long it may sleep.

#include <chrono>
#include <functional>
#include <memory>

class TimerQueueInterface {
 public:
  using Callback = std::function<void()>;
  // The timer stays armed while this handle lives; dropping it cancels the timer.
  using Handle = std::shared_ptr<Callback>;

  virtual ~TimerQueueInterface() = default;
  virtual Handle schedule(std::chrono::milliseconds delay, Callback callback) = 0;
  virtual void processExpired() = 0;
  virtual std::chrono::milliseconds timeUntilNext(std::chrono::milliseconds extra) = 0;
};
