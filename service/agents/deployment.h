#pragma once
// One function of an agent: the routine that implements it and the proxy to that routine.

#include <stdint.h>

#include <memory>

namespace kvn {

// A routine id of 65535 means the function is not deployed; every check reads `id < 65535`.
constexpr uint16_t kDaxoRoutineNotDeployed = 65535;

template <typename ProxyT>
struct Deployment {
  uint16_t id = kDaxoRoutineNotDeployed;
  std::shared_ptr<ProxyT> proxy;
};

}  // namespace kvn
