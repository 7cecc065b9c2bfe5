#include "service/datapath/super_trace_streaming.h"

#include <utility>

#include "service/agents/daxo_trace_model.h"

namespace kvn {

namespace {
constexpr uint32_t kStopped = 0;
}

bool SuperTraceStreaming::start() {
  if (state_ != kIdle) return false;
  // A producer or consumer that cannot start leaves the others running.
  state_ = kRunning;
  return group_.startProducers() && group_.startConsumers();
}

bool SuperTraceStreaming::stop(OnStopped onStopped) {
  if (stopRequested_ || state_ == kIdle) return false;
  stopRequested_ = true;
  onStopped_ = std::move(onStopped);
  if (state_ != kRunning) return true;  // the drain under way ends in the stop
  stopProducing();
  return group_.stopProducers();
}

void SuperTraceStreaming::bufferFull(uint16_t) {
  if (state_ != kRunning) return;
  stopProducing();
  group_.stopProducers();
}

// A drain counts only the buffers that emptied after this stop of the producers.
void SuperTraceStreaming::stopProducing() {
  state_ = kStoppingProducers;
  drained_.clear();
}

void SuperTraceStreaming::producerStopped(uint16_t) {
  if (state_ == kStoppingProducers && group_.countProducers(kStopped) == group_.size())
    state_ = kDraining;
}

void SuperTraceStreaming::bufferEmpty(uint16_t agent) {
  if (!group_.contains(agent)) return;
  // Empty before the agent's own producer confirmed its stop: not counted; the next one is.
  if (state_ == kStoppingProducers && DaxoTraceModel::get(agent).embuf.producerState == kStopped)
    drained_.insert(agent);
  if (state_ != kDraining) return;
  drained_.insert(agent);
  afterDrain();
}

void SuperTraceStreaming::afterDrain() {
  if (state_ != kDraining || drained_.size() != group_.size()) return;
  if (!stopRequested_) {
    state_ = kRunning;
    group_.startProducers();
  } else {
    state_ = kStoppingConsumers;
    group_.stopConsumers();
  }
}

void SuperTraceStreaming::consumerStopped(uint16_t) {
  if (state_ != kStoppingConsumers || group_.countConsumers(kStopped) != group_.size()) return;
  state_ = kIdle;
  stopRequested_ = false;
  OnStopped done = std::move(onStopped_);
  onStopped_ = nullptr;
  if (done) done();
}

// The run goes on with the others; a step that waited only for this agent completes now.
void SuperTraceStreaming::agentLost(uint16_t agent) {
  drained_.erase(agent);
  group_.remove(agent);
  producerStopped(agent);
  afterDrain();
  consumerStopped(agent);
}

}  // namespace kvn
