#pragma once

#include "util/mainloop/routine.h"

namespace kvn {

// Lets one routine answer under a second number: messages to this slot go to the target as
// they are. Does not own the target.
class RoutineProxy : public Routine {
 public:
  explicit RoutineProxy(AbstractRoutine* target) : target_(target) {}

  void pxm_message(pxm_msg*& msg, size_t msgsize) override;

 private:
  AbstractRoutine* target_;
};

}  // namespace kvn
