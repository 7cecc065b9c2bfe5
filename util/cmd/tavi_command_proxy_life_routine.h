#pragma once
// Lives as long as the front end's command: it tells the front end that the command runs, and
// it watches the front end's mailbox. An abort from the front end, or the front end's death
// (delivered as the same abort message), ends it and reaches the session's `abort`, if the
// session is still there.

#include <functional>

#include "tavi/tavi_protocol.h"
#include "util/mainloop/routine.h"

namespace kvn {

class TaviCommandProxyLifeRoutine : public Routine {
 public:
  using OnAbort = std::function<void(KvnTraceCtrlTaviAbortInd*&, unsigned int)>;

  explicit TaviCommandProxyLifeRoutine(OnAbort onAbort);
  ~TaviCommandProxyLifeRoutine() override;

  // Watches `mailbox` (the front end) with an abort message from `frontEndRoutine` to this
  // routine, then tells the front end that the command is accepted. Registered routines only.
  void start(pxm_mbox_id_t mailbox, uint16_t frontEndRoutine);

  void pxm_message(pxm_msg*& msg, size_t msgsize) override;

 private:
  void stopWatching();

  OnAbort onAbort;
  pxm_monitor_id_t monitorRef = PXM_NO_MBOX;
};

}  // namespace kvn
