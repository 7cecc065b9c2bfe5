#pragma once
// A stream: the group's producers fill their buffers while the consumers send the data on. When a
// buffer fills, all producers stop until every buffer of the group is drained, and then start
// again; a stop waits for the drain and then stops the consumers.

#include <set>
#include <utility>

#include "service/datapath/super_trace_group.h"
#include "service/datapath/super_trace_run.h"

namespace kvn {

class SuperTraceStreaming : public SuperTraceRun {
 public:
  enum State : uint32_t {
    kIdle = 0,
    kRunning = 1,
    kStoppingProducers = 2,  // stop requests are out, the consumers keep draining
    kDraining = 3,           // every producer stopped, waiting for the buffers to empty
    kStoppingConsumers = 4,
  };

  explicit SuperTraceStreaming(SuperTraceGroup group) : group_(std::move(group)) {}

  bool start() override;
  bool stop(OnStopped onStopped) override;
  bool isActive() const override { return state_ != kIdle; }
  bool isStopping() const override { return stopRequested_; }
  void producerStopped(uint16_t agent) override;
  void consumerStopped(uint16_t agent) override;
  void bufferFull(uint16_t agent) override;
  void bufferEmpty(uint16_t agent) override;
  void agentLost(uint16_t agent) override;

  State state() const { return state_; }
  const SuperTraceGroup& group() const { return group_; }

 private:
  void stopProducing();
  void afterDrain();

  SuperTraceGroup group_;
  OnStopped onStopped_;
  State state_ = kIdle;
  bool stopRequested_ = false;
  std::set<uint16_t> drained_;
};

}  // namespace kvn
