#pragma once
// The trace hit counter of an agent: one command may use it at a time.

#include <memory>

#include "service/agents/deployment.h"

namespace kvn {

template <typename ProxyT>
struct CounterDeployment {
  uint16_t id = kDaxoRoutineNotDeployed;
  bool inUse = false;
  std::shared_ptr<ProxyT> proxy;
};

}  // namespace kvn
