#include "service/measurements/cm_pool_usage_cmd_session.h"

#include <utility>

#include "service/agents/daxo_trace_model.h"
#include "service/measurements/cm_pool_usage_text.h"
#include "util/proxy/template_proxy.h"

namespace kvn {

CmPoolUsageCmdSession::CmPoolUsageCmdSession(std::vector<uint16_t> daxos, bool json)
    : AgentFanOutCmdSession(std::move(daxos)), json(json) {}

void CmPoolUsageCmdSession::start() {
  for (uint16_t n : daxos) {
    // Nothing sets this flag today; the check guards a function that measures over time.
    if (DaxoTraceModel::get(n).cmPool.measuring) {
      text << "Already measuring cm pool usage on daxo " << n << "\n";
      finish(1);
      return;
    }
  }
  for (uint16_t n : daxos) {
    auto& cmPool = DaxoTraceModel::get(n).cmPool;
    ask<KvnCmPoolUsageCfmS>(n, *cmPool.proxy, cmPool.proxy->make<KvnCmPoolUsageReqS>(),
                            [this, n](const KvnCmPoolUsageCfmS& cfm, size_t msgsize) {
                              KVNTRACE_ASSERT_TEXT(msgsize >= sizeof(KvnCmPoolUsageCfmS),
                                                   "msgsize >= sizeof(KvnCmPoolUsageCfmS)");
                              writeCmPoolUsage(text, n, cfm, json);
                            });
  }
}

void CmPoolUsageCmdSession::onLost(uint16_t daxo) {
  text << "Could not get Cm memory usage information due to loss of daxo " << daxo << "\n";
}

}  // namespace kvn
