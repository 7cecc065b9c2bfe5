#include "service/measurements/trace_hit_counter_clear_cmd_session.h"

#include <functional>
#include <utility>

#include "service/agents/daxo_trace_model.h"

namespace kvn {

namespace {

void setInUse(const std::vector<uint16_t>& daxos, bool inUse) {
  for (uint16_t n : daxos) DaxoTraceModel::get(n).traceHitCounter.inUse = inUse;
}

}  // namespace

TraceHitCounterClearCmdSession::TraceHitCounterClearCmdSession(std::vector<uint16_t> daxos)
    : daxos(std::move(daxos)) {
  for (uint16_t n : this->daxos) {
    const kvntrace::EventId event = DaxoTraceModel::getDaxoLostEvent(n);
    lostEvents[event] = n;
    subscribeEvent(event);
  }
}

void TraceHitCounterClearCmdSession::start() {
  bool busy = false;
  for (uint16_t n : daxos) {
    if (DaxoTraceModel::get(n).traceHitCounter.inUse) {
      text << "Trace hit counter is already in use on daxo " << n << "\n";
      busy = true;
    }
  }
  if (busy) {
    ended = true;
    print(text.str());
    end(1);
    return;
  }
  setInUse(daxos, true);
  for (uint16_t n : daxos) {
    const auto& proxy = DaxoTraceModel::get(n).traceHitCounter.proxy;
    auto* req = reinterpret_cast<KvnTraceHitCounterClearReqS*>(
        proxy->alloc_msg(sizeof(KvnTraceHitCounterClearReqS)));
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
  auto it = lostEvents.find(event);
  if (it == lostEvents.end() || ended || awaited.erase(it->second) == 0) return;
  text << "Could not clear trace hit counter due to loss of daxo " << it->second << "\n";
  lost = true;
  --pending;
  endCheck();
}

void TraceHitCounterClearCmdSession::endCheck() {
  if (pending > 0) return;
  ended = true;
  setInUse(daxos, false);
  print(text.str());
  end(lost ? 1 : 0);
}

void TraceHitCounterClearCmdSession::abort(KvnTraceCtrlTaviAbortInd*&, size_t) {
  if (ended) return;
  ended = true;
  setInUse(daxos, false);
  end(1);
}

}  // namespace kvn
