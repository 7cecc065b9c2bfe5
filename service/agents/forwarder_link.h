#pragma once
// One link from a kind of trace source to a kind of consumer, served by a forwarder routine.

#include <stdint.h>

#include <memory>

#include "service/agents/deployment.h"
#include "service/signals/signal_proxies.h"

namespace kvn {

struct ForwarderLink {
  bool deployed = false;
  bool attached = false;  // set and cleared by the route command
  uint16_t linkCount = 1;
  uint16_t id = kDaxoRoutineNotDeployed;
  std::shared_ptr<TraceLinkConnectionProxy> connectionProxy_p;
};

}  // namespace kvn
