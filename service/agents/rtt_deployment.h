#pragma once
// The hardware register manager of an agent and the register values last set through it.

#include <stdint.h>

#include <memory>

#include "service/agents/deployment.h"
#include "service/signals/signal_proxies.h"

namespace kvn {

struct RttDeployment {
  uint16_t id = kDaxoRoutineNotDeployed;
  // The remembered register values: the first two start as all ones, the others as 0.
  uint32_t registers[6] = {0xFFFFFFFFu, 0xFFFFFFFFu, 0, 0, 0, 0};
  std::shared_ptr<RttProxy> proxy;
};

}  // namespace kvn
