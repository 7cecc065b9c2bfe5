#pragma once
// Routine 8: the one link to the diag handler, behind which the TSI proxy lives. The diag
// handler speaks first, with a hello; the routine then keeps its mailbox and the TSI proxy in
// the global context and watches the mailbox, so that the link falls when the diag handler
// goes and comes back with its next hello.

#include <stddef.h>
#include <stdint.h>

#include "pxm/pxm.h"
#include "util/mainloop/event.h"
#include "util/mainloop/routine.h"

namespace kvn {

class DiagHandlerClientRoutine : public Routine {
 public:
  static constexpr uint16_t kRoutineId = 8;
  static constexpr uint16_t kHello = 0;
  static constexpr uint16_t kHelloReply = 1;
  static constexpr uint16_t kMailboxLost = 3;

  // Allocates the link's lost event and puts it in the global context.
  DiagHandlerClientRoutine();
  ~DiagHandlerClientRoutine() override;

  void pxm_message(pxm_msg*& msg, size_t msgsize) override;

 private:
  void hello(pxm_msg* msg, size_t msgsize);
  void lost();

  pxm_monitor_id_t monitorRef = static_cast<pxm_monitor_id_t>(-1);
  kvntrace::Event lostEvent_;
};

}  // namespace kvn
