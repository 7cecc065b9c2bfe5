#pragma once
// A measuring function of an agent (DSP load, CM pool): a measurement may run at a time.

#include <memory>

#include "service/agents/deployment.h"

namespace kvn {

template <typename ProxyT>
struct MeasuringDeployment {
  uint16_t id = kDaxoRoutineNotDeployed;
  bool measuring = false;
  std::shared_ptr<ProxyT> proxy;
};

}  // namespace kvn
