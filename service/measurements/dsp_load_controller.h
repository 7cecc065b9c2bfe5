#pragma once
// Routine 4: where an agent says that its DSP load measurement has run its time (sub-message 6,
// from the agent's DSP load routine). The agent's `measuring` flag is cleared; anything else
// is logged and dropped.

#include <stddef.h>
#include <stdint.h>

#include "util/mainloop/routine.h"

namespace kvn {

class DspLoadController : public Routine {
 public:
  static constexpr uint16_t kRoutineId = 4;
  static constexpr uint16_t kMeasurementEnded = 6;

  void pxm_message(pxm_msg*& msg, size_t msgsize) override;
};

}  // namespace kvn
