#pragma once
// A recording: the group's producers fill their buffers and nothing is consumed, so each buffer
// holds the newest data until the recording is stopped and dumped.

#include <utility>

#include "service/datapath/super_trace_group.h"
#include "service/datapath/super_trace_run.h"

namespace kvn {

class SuperTraceRecording : public SuperTraceRun {
 public:
  explicit SuperTraceRecording(SuperTraceGroup group) : group_(std::move(group)) {}

  bool start() override;
  bool stop(OnStopped onStopped) override;
  bool isActive() const override;
  bool isStopping() const override;
  void producerStopped(uint16_t agent) override;
  void consumerStopped(uint16_t) override {}
  void bufferFull(uint16_t) override {}
  void bufferEmpty(uint16_t) override {}
  void agentLost(uint16_t agent) override;

  const SuperTraceGroup& group() const { return group_; }

 private:
  SuperTraceGroup group_;
  OnStopped onStopped_;
};

}  // namespace kvn
