#include "service/datapath/recorder_cmd_session.h"

#include <string>
#include <utility>

#include "service/agents/daxo_trace_model.h"

namespace kvn {

RecorderCmdSession::RecorderCmdSession(std::vector<uint16_t> agents) : agents(std::move(agents)) {
  for (uint16_t n : this->agents) {
    const kvntrace::EventId event = DaxoTraceModel::getDaxoLostEvent(n);
    lostEvents_[event] = n;
    subscribeEvent(event);
  }
}

void RecorderCmdSession::handleEvent(kvntrace::EventId event) {
  auto it = lostEvents_.find(event);
  if (it != lostEvents_.end() && action_) action_->onAgentLost(it->second);
}

void RecorderCmdSession::run(std::shared_ptr<SuperTraceAction> action) {
  action_ = std::move(action);
  action_->start();
}

SuperTraceAction::Done RecorderCmdSession::printAndEnd() {
  return [this](bool failed, const std::string& text) {
    print(text);
    end(failed ? 1 : 0);
  };
}

}  // namespace kvn
