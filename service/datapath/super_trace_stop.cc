#include "service/datapath/super_trace_stop.h"

#include <functional>
#include <memory>

#include "service/agents/daxo_trace_model.h"
#include "service/datapath/super_trace_run.h"

namespace kvn {

namespace {

std::shared_ptr<SuperTraceRun> runOf(uint16_t agent) {
  return DaxoTraceModel::get(agent).embuf.superTraceAction;
}

}  // namespace

void SuperTraceStop::start() {
  bool refused = agents.empty();
  for (uint16_t agent : agents) {
    const std::shared_ptr<SuperTraceRun> run = runOf(agent);
    if (!run || !run->isActive()) {
      text << "No active streaming or recording on daxo " << agent << ".\n";
      refused = true;
    } else if (run->isStopping()) {
      text << "Already stopping streaming or recording on daxo " << agent << ".\n";
      refused = true;
    }
  }
  for (size_t i = 1; i < agents.size() && !refused; ++i)
    if (runOf(agents[i - 1]) != runOf(agents[i])) {
      text << "Can only stop recordings on daxos which were started together.\n";
      refused = true;
    }
  if (refused) {
    finish(true);
    return;
  }
  pending = 1;
  stopping_ = true;
  std::function<void()> onStopped = [this] { stopped(); };
  if (!runOf(agents.front())->stop(getKillableCallback(std::move(onStopped)))) {
    text << "Failed to stop streaming or recording on daxos.\n";
    finish(true);
  }
}

void SuperTraceStop::stopped() {
  if (finished() || --pending != 0) return;
  // The run may finish because one of ours was just lost, before our own lost event came.
  if (!agentLostSeen)
    for (uint16_t agent : agents)
      if (!DaxoTraceModel::get(agent).connected) noteLost(agent);
  if (!agentLostSeen) text << "Stopped recording on daxos.\n";
  finish(agentLostSeen);
}

void SuperTraceStop::onAgentLost(uint16_t agent) {
  if (finished() || !stopping_) return;
  noteLost(agent);
  stopped();
}

}  // namespace kvn
