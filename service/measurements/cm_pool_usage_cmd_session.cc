#include "service/measurements/cm_pool_usage_cmd_session.h"

#include <functional>
#include <utility>

#include "service/agents/daxo_trace_model.h"
#include "service/measurements/cm_pool_usage_text.h"
#include "util/proxy/template_proxy.h"

namespace kvn {

CmPoolUsageCmdSession::CmPoolUsageCmdSession(std::vector<uint16_t> daxos, bool json)
    : daxos(std::move(daxos)), json(json) {
  for (uint16_t n : this->daxos) {
    const kvntrace::EventId event = DaxoTraceModel::getDaxoLostEvent(n);
    lostEvents[event] = n;
    subscribeEvent(event);
  }
}

void CmPoolUsageCmdSession::start() {
  for (uint16_t n : daxos) {
    // Nothing sets this flag today; the check guards a function that measures over time.
    if (DaxoTraceModel::get(n).cmPool.measuring) {
      print("Already measuring cm pool usage on daxo " + std::to_string(n) + "\n");
      end(1);
      return;
    }
  }
  for (uint16_t n : daxos) {
    auto& cmPool = DaxoTraceModel::get(n).cmPool;
    auto* msg = cmPool.proxy->make<KvnCmPoolUsageReqS>();
    std::function<void(KvnCmPoolUsageCfmS*&, size_t)> onCfm =
        [this, n](KvnCmPoolUsageCfmS*& cfm, size_t msgsize) { onConfirm(n, cfm, msgsize); };
    cmPool.proxy->send(msg, getKillableCallback(std::move(onCfm)));
    pending.insert(n);
  }
}

void CmPoolUsageCmdSession::onConfirm(uint16_t daxo, const KvnCmPoolUsageCfmS* cfm,
                                      size_t msgsize) {
  KVNTRACE_ASSERT_TEXT(msgsize >= sizeof(KvnCmPoolUsageCfmS),
                       "msgsize >= sizeof(KvnCmPoolUsageCfmS)");
  if (pending.erase(daxo) == 0) return;
  writeCmPoolUsage(text, daxo, *cfm, json);
  check();
}

void CmPoolUsageCmdSession::handleEvent(kvntrace::EventId event) {
  auto it = lostEvents.find(event);
  if (it == lostEvents.end() || pending.erase(it->second) == 0) return;
  text << "Could not get Cm memory usage information due to loss of daxo " << it->second << "\n";
  failed = 1;
  check();
}

void CmPoolUsageCmdSession::check() {
  if (!pending.empty()) return;
  print(text.str());
  end(failed);
}

}  // namespace kvn
