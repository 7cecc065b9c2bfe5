#include "service/datapath/super_trace_recording.h"

#include <utility>

namespace kvn {

namespace {
constexpr uint32_t kStopped = 0, kStarted = 1, kStopping = 2;
}

bool SuperTraceRecording::start() {
  if (group_.countProducers(kStopped) != group_.size()) return false;
  return group_.startProducers();
}

bool SuperTraceRecording::stop(OnStopped onStopped) {
  if (group_.countProducers(kStarted) != group_.size()) return false;
  onStopped_ = std::move(onStopped);
  return group_.stopProducers();
}

bool SuperTraceRecording::isActive() const {
  return group_.countProducers(kStopped) != group_.size();
}

bool SuperTraceRecording::isStopping() const { return group_.countProducers(kStopping) != 0; }

void SuperTraceRecording::producerStopped(uint16_t) {
  if (group_.countProducers(kStopped) != group_.size() || !onStopped_) return;
  OnStopped done = std::move(onStopped_);
  onStopped_ = nullptr;
  done();
}

void SuperTraceRecording::agentLost(uint16_t agent) {
  group_.remove(agent);
  producerStopped(agent);
}

}  // namespace kvn
