#pragma once
// The unique trace function of an agent: the sender of point settings and the reader of the
// points from the container.

#include <stdint.h>

#include <memory>

#include "service/agents/deployment.h"
#include "service/signals/signal_proxies.h"

namespace kvn {

class UTraceConfig;
class UTraceController;

struct UTraceDeployment {
  uint16_t id = kDaxoRoutineNotDeployed;
  std::shared_ptr<UTraceProxy> proxy;
  std::shared_ptr<UTraceConfig> config;
  std::shared_ptr<UTraceController> controller;
};

}  // namespace kvn
