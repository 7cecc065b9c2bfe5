#pragma once

#include <cstdint>
#include <string>

#include "util/event_id.h"

namespace kvn {
class DaxoConnectionMonitor;
class RoutineTable;
class SuperTrace;
}  // namespace kvn

// The one global context: how the parts of the service that are not handed each other reach
// the shared ones. Built on first use, destroyed at exit.
class TraceControllerContext {
 public:
  static TraceControllerContext& get();

  std::string instanceName;
  uint32_t diagHandlerMailbox = static_cast<uint32_t>(-1);
  kvntrace::EventId diagHandlerLostEvent;
  kvn::SuperTrace* superTrace = nullptr;
  kvn::DaxoConnectionMonitor* connectionMonitor = nullptr;
  kvn::RoutineTable* routineTable = nullptr;

 private:
  TraceControllerContext() = default;
};
