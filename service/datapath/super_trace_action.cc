#include "service/datapath/super_trace_action.h"

#include <utility>

namespace kvn {

void SuperTraceAction::noteLost(uint16_t agent) {
  text << "Action failed due to loss of daxo " << agent << ".\n";
  agentLostSeen = true;
}

void SuperTraceAction::finish(bool failed) {
  if (finished_) return;
  finished_ = true;
  Done done = std::move(done_);
  if (done) done(failed, text.str());
}

}  // namespace kvn
