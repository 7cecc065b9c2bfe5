#include "util/mainloop/timer_queue.h"

#include <algorithm>
#include <utility>

namespace {
constexpr std::chrono::milliseconds kIdleWait{1000};
}

TimerQueue::TimerQueue() : TimerQueue([] { return Clock::now(); }) {}

TimerQueue::TimerQueue(NowFn now) : now_(std::move(now)) {}

TimerQueue::Handle TimerQueue::schedule(std::chrono::milliseconds delay, Callback callback) {
  auto handle = std::make_shared<Callback>(std::move(callback));
  heap_.push_back(Entry{now_() + delay, nextSeq_++, handle});
  std::push_heap(heap_.begin(), heap_.end(), Later());
  return handle;
}

void TimerQueue::processExpired() {
  const Clock::time_point now = now_();
  while (!heap_.empty() && heap_.front().expiry <= now) {
    const uint64_t seq = heap_.front().seq;
    if (Handle callback = heap_.front().callback.lock()) (*callback)();
    // The entry leaves only after its call; the call may have scheduled more.
    popEntry(seq);
  }
}

void TimerQueue::popEntry(uint64_t seq) {
  if (!heap_.empty() && heap_.front().seq == seq) {
    std::pop_heap(heap_.begin(), heap_.end(), Later());
    heap_.pop_back();
    return;
  }
  // Only a timer scheduled into the past by the call itself can get in front of it.
  auto it =
      std::find_if(heap_.begin(), heap_.end(), [seq](const Entry& e) { return e.seq == seq; });
  if (it == heap_.end()) return;
  heap_.erase(it);
  std::make_heap(heap_.begin(), heap_.end(), Later());
}

std::chrono::milliseconds TimerQueue::timeUntilNext(std::chrono::milliseconds extra) {
  if (heap_.empty()) return kIdleWait;
  const Clock::time_point now = now_();
  const Clock::time_point next = heap_.front().expiry;
  if (next <= now) return std::chrono::milliseconds(0);
  return std::chrono::duration_cast<std::chrono::milliseconds>(next - now) + extra;
}
