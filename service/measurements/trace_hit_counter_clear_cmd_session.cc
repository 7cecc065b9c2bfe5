#include "service/measurements/trace_hit_counter_clear_cmd_session.h"

#include <functional>
#include <utility>

#include "service/agents/daxo_trace_model.h"

namespace kvn {

TraceHitCounterClearCmdSession::TraceHitCounterClearCmdSession(std::vector<uint16_t> daxos)
    : TraceHitCounterCmdSession(std::move(daxos)) {}

void TraceHitCounterClearCmdSession::start() {
  if (!claim()) return;
  for (uint16_t n : daxos) {
    const auto& proxy = DaxoTraceModel::get(n).traceHitCounter.proxy;
    auto* req = proxy->make<KvnTraceHitCounterClearReqS>();
    std::function<void(KvnTraceHitCounterClearCfmS*&, size_t)> onCfm =
        [this, n](KvnTraceHitCounterClearCfmS*&, size_t) { onCleared(n); };
    awaited.insert(n);
    ++pending;
    proxy->send(req, getKillableCallback(std::move(onCfm)));
  }
}

void TraceHitCounterClearCmdSession::onCleared(uint16_t agent) {
  if (ended || awaited.erase(agent) == 0) return;
  text << "Trace hit counter cleared on daxo " << agent << "\n";
  --pending;
  endCheck();
}

void TraceHitCounterClearCmdSession::handleEvent(kvntrace::EventId event) {
  const uint16_t* agent = lostAgent(event);
  if (!agent || awaited.erase(*agent) == 0) return;
  text << "Could not clear trace hit counter due to loss of daxo " << *agent << "\n";
  lost = true;
  --pending;
  endCheck();
}

void TraceHitCounterClearCmdSession::endCheck() {
  if (pending == 0) finish(lost ? 1 : 0);
}

}  // namespace kvn
