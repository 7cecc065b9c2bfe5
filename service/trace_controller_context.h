#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "util/mainloop/event_id.h"

namespace kvn {
class DaxoConnectionMonitor;
class RoutineTable;
class SuperTrace;
class TraceDestinationStore;
class TsiProxy;
}  // namespace kvn

// The one global context: how the parts of the service that are not handed each other reach
// the shared ones. Built on first use, destroyed at exit. Only forward declarations here, so
// that any layer may include it.
class TraceControllerContext {
 public:
  static TraceControllerContext& get() {
    static TraceControllerContext context;
    return context;
  }

  std::shared_ptr<kvn::TraceDestinationStore> destinations;
  std::string instanceName;
  // Empty while no diag handler is connected.
  std::shared_ptr<kvn::TsiProxy> tsiProxy;
  uint32_t diagHandlerMailbox = static_cast<uint32_t>(-1);
  kvntrace::EventId diagHandlerLostEvent;
  kvn::SuperTrace* superTrace = nullptr;
  kvn::DaxoConnectionMonitor* connectionMonitor = nullptr;
  kvn::RoutineTable* routineTable = nullptr;

 private:
  TraceControllerContext() = default;
};
