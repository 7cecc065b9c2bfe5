#include "util/cmd/tavi_command_proxy_life_routine.h"

#include <utility>

#include "base/kvn_obs_sub_message_with_sub_msg_no.h"

namespace kvn {

TaviCommandProxyLifeRoutine::TaviCommandProxyLifeRoutine(OnAbort onAbort)
    : onAbort(std::move(onAbort)) {}

TaviCommandProxyLifeRoutine::~TaviCommandProxyLifeRoutine() { stopWatching(); }

void TaviCommandProxyLifeRoutine::start(pxm_mbox_id_t mailbox, uint16_t frontEndRoutine) {
  const uint16_t self = static_cast<uint16_t>(getRoutineId());

  // What an abort from the front end looks like, delivered by the library when it dies.
  pxm_msg* abortMsg = alloc_msg(sizeof(KvnTraceCtrlTaviAbortInd));
  auto* header = reinterpret_cast<KvnObsSubMessageWithSubMsgNo*>(abortMsg);
  header->dstRoutineId = self;
  header->srcRoutineId = frontEndRoutine;
  header->submsgno = tavi::kAbortInd;
  kvnObsSwapHeader(header);
  monitorRef = monitor(mailbox, abortMsg);

  pxm_msg* accepted = alloc_msg(sizeof(KvnObsSubMessageWithSubMsgNo));
  sendObs(accepted, mailbox, self, frontEndRoutine, tavi::kCommandAccepted);
}

void TaviCommandProxyLifeRoutine::pxm_message(pxm_msg*& msg, size_t msgsize) {
  stopWatching();
  auto* abortMsg = reinterpret_cast<KvnTraceCtrlTaviAbortInd*>(msg);
  if (onAbort) onAbort(abortMsg, static_cast<unsigned int>(msgsize));
  msg = reinterpret_cast<pxm_msg*>(abortMsg);
  release();
}

void TaviCommandProxyLifeRoutine::stopWatching() {
  if (monitorRef == PXM_NO_MBOX) return;
  unmonitor(monitorRef);
  monitorRef = PXM_NO_MBOX;
}

}  // namespace kvn
