#include "service/datapath/super_trace_start.h"

#include <memory>

#include "service/agents/daxo_trace_model.h"
#include "service/datapath/super_trace_group.h"
#include "service/datapath/super_trace_recording.h"
#include "service/datapath/super_trace_streaming.h"
#include "service/signals/signal_proxies.h"

namespace kvn {

namespace {

constexpr uint16_t kSetUpAll = 3;

bool deployed(const DaxoRecord& r) {
  return r.embuf.superTraceControlProxy && r.embuf.superTraceBufferProxy;
}

}  // namespace

namespace {

// A set-up that will not finish: the agents that are still there may be set up again. A lost
// agent's flag stays; its record is replaced when it connects again.
template <typename Agents>
void releaseConnected(const Agents& agents) {
  for (uint16_t agent : agents) {
    DaxoRecord& r = DaxoTraceModel::get(agent);
    if (r.connected) r.embuf.setupPending = false;
  }
}

}  // namespace

SuperTraceStart::~SuperTraceStart() {
  if (!finished()) releaseConnected(awaiting_);
}

void SuperTraceStart::start() {
  bool refused = agents.empty(), notDeployed = false;
  for (uint16_t agent : agents) {
    const DaxoRecord& r = DaxoTraceModel::get(agent);
    if (!r.connected) {
      noteLost(agent);
      refused = true;
    } else if (!deployed(r)) {
      notDeployed = refused = true;
    } else if (r.embuf.superTraceAction && r.embuf.superTraceAction->isActive()) {
      text << "Already recording or streaming on daxo " << agent << ".\n";
      refused = true;
    } else if (r.embuf.setupPending) {
      text << "Recording or streaming is already being setup for daxo " << agent << ".\n";
      refused = true;
    }
  }
  if (notDeployed) text << "SuperTrace not deployed on all daxos\n";
  if (refused) {
    finish(true);
    return;
  }
  for (uint16_t agent : agents) {
    if (!awaiting_.insert(agent).second) continue;  // named twice
    DaxoRecord& r = DaxoTraceModel::get(agent);
    r.embuf.setupPending = true;
    ++pending;
    SuperTraceBufferProxy& proxy = *r.embuf.superTraceBufferProxy;
    auto* msg = proxy.make<KvnSuperTraceBufferSetupReqS>();
    msg->setup = kSetUpAll;
    std::function<void(KvnSuperTraceBufferSetupCfmS*&, size_t)> onCfm =
        [this, agent](KvnSuperTraceBufferSetupCfmS*&, size_t) { setUpConfirmed(agent); };
    proxy.send(msg, getKillableCallback(std::move(onCfm)));
  }
}

void SuperTraceStart::setUpConfirmed(uint16_t agent) {
  if (finished() || awaiting_.erase(agent) == 0) return;
  if (--pending == 0) afterSetUp();
}

void SuperTraceStart::onAgentLost(uint16_t agent) {
  if (finished() || pending == 0) return;
  noteLost(agent);
  if (awaiting_.erase(agent) != 0 && --pending == 0) afterSetUp();
}

void SuperTraceStart::afterSetUp() {
  if (agentLostSeen) {
    releaseConnected(agents);
    finish(true);
    return;
  }
  if (mode_ != kSuperTraceRecording && mode_ != kSuperTraceStreaming) {
    text << "Cannot start Super Trace in IDLE mode\n";
    for (uint16_t agent : agents) DaxoTraceModel::get(agent).embuf.setupPending = false;
    finish(true);
    return;
  }
  SuperTraceGroup group(controller_);
  for (uint16_t agent : agents) group.add(agent);
  std::shared_ptr<SuperTraceRun> run;
  if (mode_ == kSuperTraceRecording)
    run = std::make_shared<SuperTraceRecording>(std::move(group));
  else
    run = std::make_shared<SuperTraceStreaming>(std::move(group));
  for (uint16_t agent : agents) DaxoTraceModel::get(agent).embuf.superTraceAction = run;
  const bool started = run->start();
  text << (started ? "Started streaming or recording on daxos.\n"
                   : "Failed to start streaming or recording on daxos.\n");
  for (uint16_t agent : agents) DaxoTraceModel::get(agent).embuf.setupPending = false;
  finish(!started);
}

}  // namespace kvn
