#pragma once
// `zoth tracehitcounter clear <daxo id>`: resets the hit counter table of every agent at once
// and answers when all have confirmed or were lost. Nothing is cleared while any of the agents
// is in use by another hit counter command.

#include <stdint.h>

#include <set>
#include <vector>

#include "service/measurements/trace_hit_counter_cmd_session.h"

namespace kvn {

class TraceHitCounterClearCmdSession : public TraceHitCounterCmdSession {
 public:
  explicit TraceHitCounterClearCmdSession(std::vector<uint16_t> daxos);

  void start() override;
  void handleEvent(kvntrace::EventId event) override;

 private:
  void onCleared(uint16_t agent);
  void endCheck();

  uint32_t pending = 0;
  bool lost = false;
  std::set<uint16_t> awaited;
};

}  // namespace kvn
