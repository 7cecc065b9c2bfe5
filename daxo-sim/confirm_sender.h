#pragma once
// How the agent's confirms go out: at once, after a delay, or not at all. A delayed confirm
// lets a test hold a request in flight; a dropped one leaves the service waiting until the
// agent dies. Each confirm that goes late or never is written to the journal.

#include <stdint.h>

#include <chrono>
#include <deque>

#include "daxo-sim/reply_path.h"
#include "sim/journal.h"

namespace kvn::daxosim {

class ConfirmSender {
 public:
  enum class Mode { kAtOnce, kDelayed, kDropped };

  ConfirmSender(sim::Journal& journal, Mode mode, std::chrono::milliseconds delay);

  // Sends (or holds, or drops) a confirm of header only under `submsgno`. Gives what was done:
  // "sent", "delayed" or "dropped", for the request's journal line.
  const char* confirm(const ReplyPath& reply, uint16_t submsgno);
  // Sends the delayed confirms whose time has come, in the order they were made.
  void sendDue();
  // How long until the next delayed confirm is due; 0 when one is due, -1 when none waits.
  long msUntilNext() const;

 private:
  struct Held {
    std::chrono::steady_clock::time_point due;
    ReplyPath reply;
    uint16_t submsgno;
  };

  sim::Journal& journal_;
  Mode mode_;
  std::chrono::milliseconds delay_;
  std::deque<Held> held_;
};

}  // namespace kvn::daxosim
