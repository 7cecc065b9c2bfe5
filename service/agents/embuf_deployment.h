#pragma once
// The memory buffer functions of an agent: the SuperTrace control routine (code 4) and the
// buffer routine (code 9), and the state of recording into the buffer.

#include <stdint.h>

#include <memory>

#include "service/agents/deployment.h"
#include "service/signals/signal_proxies.h"

namespace kvn {

class SuperTraceRun;

struct EmbufDeployment {
  static constexpr uint64_t kDefaultSizeBytes = 0xC800000;  // 200 MiB

  uint16_t superTraceRoutine = kDaxoRoutineNotDeployed;
  uint16_t bufferRoutine = kDaxoRoutineNotDeployed;
  uint64_t sizeBytes = kDefaultSizeBytes;
  bool setupPending = false;
  uint32_t producerState = 0;
  uint32_t consumerState = 0;
  std::shared_ptr<SuperTraceRun> superTraceAction;
  std::shared_ptr<SuperTraceBufferProxy> superTraceBufferProxy;
  std::shared_ptr<SuperTraceControlProxy> superTraceControlProxy;
};

}  // namespace kvn
