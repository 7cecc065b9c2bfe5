#pragma once
// Waits for the front end's confirm of one text chunk; any answer counts.

#include <stddef.h>

#include <functional>

#include "tavi/tavi_protocol.h"
#include "util/mainloop/routine.h"

namespace kvn {

class TaviCommandProxyPrintRoutine : public Routine {
 public:
  using OnConfirm = std::function<void(KvnTraceCtrlTaviPrintCfm*&, size_t)>;

  explicit TaviCommandProxyPrintRoutine(OnConfirm onConfirm);

  void pxm_message(pxm_msg*& msg, size_t msgsize) override;

 private:
  OnConfirm onConfirm;
};

}  // namespace kvn
