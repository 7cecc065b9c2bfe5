#pragma once

#include <stddef.h>
#include <stdint.h>

#include "pxm/pxm.h"
#include "util/mainloop/event_id.h"

namespace kvn {

class RoutineTable;

// What the routine table calls on the routine in a slot. The order of the operations is part
// of the contract with code built against it.
class AbstractRoutine {
 public:
  virtual void pxm_message(pxm_msg*& msg, size_t msgsize) = 0;
  virtual ~AbstractRoutine() = default;
  virtual void onEvent(kvntrace::EventId event) = 0;
  virtual void handleEvent(kvntrace::EventId event) = 0;
  virtual void setRoutineId(uint32_t routineId) = 0;
  virtual void setRoutineTable(RoutineTable* routineTable) = 0;
};

}  // namespace kvn
