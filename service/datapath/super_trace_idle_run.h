#pragma once
// The run every agent's record starts with: nothing runs, nothing can be started or stopped.

#include "service/datapath/super_trace_run.h"

namespace kvn {

class SuperTraceIdleRun : public SuperTraceRun {
 public:
  bool start() override { return false; }
  bool stop(OnStopped) override { return false; }
  bool isActive() const override { return false; }
  bool isStopping() const override { return false; }
  void producerStopped(uint16_t) override {}
  void consumerStopped(uint16_t) override {}
  void bufferFull(uint16_t) override {}
  void bufferEmpty(uint16_t) override {}
  void agentLost(uint16_t) override {}
};

}  // namespace kvn
