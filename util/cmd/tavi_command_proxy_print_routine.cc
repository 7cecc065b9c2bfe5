#include "util/cmd/tavi_command_proxy_print_routine.h"

#include <arpa/inet.h>

#include <utility>

#include "tracing/log.h"

namespace kvn {

TaviCommandProxyPrintRoutine::TaviCommandProxyPrintRoutine(OnConfirm onConfirm)
    : onConfirm(std::move(onConfirm)) {}

void TaviCommandProxyPrintRoutine::pxm_message(pxm_msg*& msg, size_t msgsize) {
  auto* cfm = reinterpret_cast<KvnTraceCtrlTaviPrintCfm*>(msg);
  if (msgsize >= sizeof(KvnTraceCtrlTaviPrintCfm)) {
    cfm->sequence = ntohs(cfm->sequence);
  } else {
    // Still a confirm, for the pacing of the sender; it just carries no sequence.
    CPMUTIL_LOG_ERROR("Print confirm of %zu bytes has no sequence", msgsize);
  }
  if (onConfirm) onConfirm(cfm, msgsize);
  msg = reinterpret_cast<pxm_msg*>(cfm);
  release();
}

}  // namespace kvn
