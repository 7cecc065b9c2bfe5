#include "service/measurements/agent_fan_out_cmd_session.h"

#include <utility>

#include "service/agents/daxo_trace_model.h"

namespace kvn {

AgentFanOutCmdSession::AgentFanOutCmdSession(std::vector<uint16_t> daxos)
    : daxos(std::move(daxos)) {
  for (uint16_t n : this->daxos) {
    const kvntrace::EventId event = DaxoTraceModel::getDaxoLostEvent(n);
    lostEvents[event] = n;
    subscribeEvent(event);
  }
}

void AgentFanOutCmdSession::handleEvent(kvntrace::EventId event) {
  auto it = lostEvents.find(event);
  if (it == lostEvents.end() || pending.erase(it->second) == 0) return;
  lost = true;
  onLost(it->second);
  check();
}

void AgentFanOutCmdSession::check() {
  if (pending.empty()) finish(lost ? 1 : 0);
}

void AgentFanOutCmdSession::finish(uint8_t result) {
  print(text.str());
  end(result);
}

}  // namespace kvn
