#pragma once
// The trace object function of an agent and the controller that sends its masks.

#include <stdint.h>

#include <memory>

#include "service/agents/deployment.h"
#include "service/signals/signal_proxies.h"

namespace kvn {

class TraceObjectController;

struct TraceObjectDeployment {
  uint16_t id = kDaxoRoutineNotDeployed;
  std::shared_ptr<TraceObjectController> controller;
  std::shared_ptr<TraceObjectProxy> proxy;
};

}  // namespace kvn
