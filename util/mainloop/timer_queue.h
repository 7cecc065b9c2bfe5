#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "util/mainloop/timer_queue_interface.h"

// A min-heap of wall-clock expiry times. Entries hold their callable weakly, so a cancelled
// timer stays in the heap until its time comes and is then popped without a call.
class TimerQueue : public TimerQueueInterface {
 public:
  using Clock = std::chrono::system_clock;
  using NowFn = std::function<Clock::time_point()>;

  TimerQueue();
  // For tests: a clock that the test moves by hand.
  explicit TimerQueue(NowFn now);

  Handle schedule(std::chrono::milliseconds delay, Callback callback) override;
  void processExpired() override;
  std::chrono::milliseconds timeUntilNext(std::chrono::milliseconds extra) override;

  size_t size() const { return heap_.size(); }

 private:
  struct Entry {
    Clock::time_point expiry;
    uint64_t seq;  // ties run in the order of scheduling
    std::weak_ptr<Callback> callback;
  };
  struct Later {
    bool operator()(const Entry& a, const Entry& b) const {
      return a.expiry != b.expiry ? a.expiry > b.expiry : a.seq > b.seq;
    }
  };

  void popEntry(uint64_t seq);

  NowFn now_;
  uint64_t nextSeq_ = 0;
  std::vector<Entry> heap_;  // a binary heap under Later
};
