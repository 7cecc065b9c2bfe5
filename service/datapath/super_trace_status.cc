#include "service/datapath/super_trace_status.h"

#include <functional>

#include "service/agents/daxo_trace_model.h"
#include "service/signals/signal_proxies.h"
#include "tracing/log.h"

namespace kvn {

void SuperTraceStatus::start() {
  for (uint16_t agent : agents) {
    DaxoRecord& r = DaxoTraceModel::get(agent);
    if (!r.connected) {
      noteLost(agent);
      continue;
    }
    if (!r.embuf.superTraceBufferProxy) {
      text << "SuperTrace not deployed on daxo " << agent << ".\n";
      refused_ = true;
      continue;
    }
    if (!awaiting_.insert(agent).second) continue;  // named twice
    ++pending;
    SuperTraceBufferProxy& proxy = *r.embuf.superTraceBufferProxy;
    auto* msg = proxy.make<KvnSuperTraceBufferIndexReqS>();
    std::function<void(KvnSuperTraceBufferIndexCfmS*&, size_t)> onCfm =
        [this, agent](KvnSuperTraceBufferIndexCfmS*& cfm, size_t msgsize) {
          confirmed(agent, cfm, msgsize);
        };
    proxy.send(msg, getKillableCallback(std::move(onCfm)));
  }
  if (pending == 0) finish(true);
}

void SuperTraceStatus::confirmed(uint16_t agent, const KvnSuperTraceBufferIndexCfmS* cfm,
                                 size_t msgsize) {
  KVNTRACE_ASSERT_TEXT(msgsize >= sizeof(KvnSuperTraceBufferIndexCfmS),
                       "msgsize >= sizeof(KvnSuperTraceBufferIndexCfmS)");
  if (finished() || awaiting_.count(agent) == 0) return;
  const uint16_t count = cfm->index.numBlockHeaders;
  if (KvnSuperTraceBufferIndexCfmS::sizeFor(count) > msgsize) {
    TC_LOG_ERROR("Buffer index of daxo %u promises %u block headers in %zu bytes", agent, count,
                 msgsize);
    text << "Invalid buffer index from daxo " << agent << ".\n";
    refused_ = true;
  } else {
    const kvnSuperTraceBufferIndexS index = cfm->index;
    const bool inserted =
        indexes_.emplace(agent, std::make_shared<SuperTraceBufferIndex>(index, cfm->blockHeaders))
            .second;
    KVNTRACE_ASSERT_TEXT(inserted, "action.second");
  }
  answered(agent);
}

void SuperTraceStatus::onAgentLost(uint16_t agent) {
  if (finished() || awaiting_.count(agent) == 0) return;
  noteLost(agent);
  answered(agent);
}

void SuperTraceStatus::answered(uint16_t agent) {
  awaiting_.erase(agent);
  if (--pending == 0) finish(agentLostSeen || refused_);
}

}  // namespace kvn
