#pragma once
// The batches of changes for one routine of one agent, one batch in flight at a time: a later
// batch goes out only once the agent has confirmed the one before, so a slow agent gets its
// changes in order and never two requests at once. A batch's `done` runs at its confirm, and
// never if the agent goes (the owner's confirm callback dies with it).

#include <stddef.h>

#include <deque>
#include <functional>
#include <utility>
#include <vector>

namespace kvn {

template <typename Entry>
class OneBatchInFlight {
 public:
  using Done = std::function<void()>;
  // Sends one batch; `queued` when it waited behind another. The owner calls `confirmed()` at
  // the agent's confirm.
  using Send = std::function<void(const std::vector<Entry>& batch, bool queued)>;

  explicit OneBatchInFlight(Send send) : send_(std::move(send)) {}

  void push(std::vector<Entry> entries, Done done) {
    pending_.push_back({std::move(entries), std::move(done)});
    if (!busy_) sendFront(false);
  }

  void confirmed() {
    // Still busy while `done` runs: whatever it queues comes behind the batches waiting.
    Done done = std::move(inFlight_);
    inFlight_ = nullptr;
    if (done) done();
    busy_ = false;  // until the next one is really out
    if (!pending_.empty()) sendFront(true);
  }

  // Batches not yet confirmed: those queued and the one in flight.
  size_t pendingBatches() const { return pending_.size() + (busy_ ? 1 : 0); }
  bool busy() const { return busy_; }

 private:
  struct Batch {
    std::vector<Entry> entries;
    Done done;
  };

  void sendFront(bool queued) {
    Batch batch = std::move(pending_.front());
    pending_.pop_front();
    inFlight_ = std::move(batch.done);
    send_(batch.entries, queued);
    busy_ = true;
  }

  Send send_;
  std::deque<Batch> pending_;
  bool busy_ = false;
  Done inFlight_;
};

}  // namespace kvn
