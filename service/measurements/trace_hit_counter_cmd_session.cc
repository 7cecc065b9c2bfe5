#include "service/measurements/trace_hit_counter_cmd_session.h"

#include <utility>

#include "service/agents/daxo_trace_model.h"

namespace kvn {

TraceHitCounterCmdSession::TraceHitCounterCmdSession(std::vector<uint16_t> daxos)
    : daxos(std::move(daxos)) {
  for (uint16_t n : this->daxos) {
    const kvntrace::EventId event = DaxoTraceModel::getDaxoLostEvent(n);
    lostEvents[event] = n;
    subscribeEvent(event);
  }
}

bool TraceHitCounterCmdSession::claim() {
  bool busy = false;
  for (uint16_t n : daxos) {
    if (DaxoTraceModel::get(n).traceHitCounter.inUse) {
      text << "Trace hit counter is already in use on daxo " << n << "\n";
      busy = true;
    }
  }
  if (busy) {
    // None was taken: none is given back.
    ended = true;
    print(text.str());
    end(1);
    return false;
  }
  setInUse(true);
  return true;
}

const uint16_t* TraceHitCounterCmdSession::lostAgent(kvntrace::EventId event) const {
  auto it = lostEvents.find(event);
  return it == lostEvents.end() || ended ? nullptr : &it->second;
}

void TraceHitCounterCmdSession::finish(uint8_t result) {
  ended = true;
  setInUse(false);
  print(text.str());
  end(result);
}

void TraceHitCounterCmdSession::abort(KvnTraceCtrlTaviAbortInd*&, size_t) {
  if (ended) return;
  ended = true;
  setInUse(false);
  end(1);
}

void TraceHitCounterCmdSession::setInUse(bool inUse) {
  for (uint16_t n : daxos) DaxoTraceModel::get(n).traceHitCounter.inUse = inUse;
}

}  // namespace kvn
