#pragma once
// The transport destination function of an agent and its pool of destination ports.

#include <stdint.h>

#include <memory>

#include "service/agents/deployment.h"
#include "service/signals/signal_proxies.h"

namespace kvn {

class TraceDestPortPool;

struct TraceDestDeployment {
  uint16_t id = kDaxoRoutineNotDeployed;
  std::shared_ptr<TraceDestProxy> proxy;
  std::shared_ptr<TraceDestPortPool> portPool;
};

}  // namespace kvn
