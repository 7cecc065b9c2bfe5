#include "util/cmd/tavi_command_proxy.h"

#include <arpa/inet.h>
#include <string.h>

#include <algorithm>
#include <utility>

#include "util/mainloop/unsent_message.h"

namespace kvn {

TaviCommandProxy::TaviCommandProxy(RoutineTable* routineTable, pxm_mbox_id_t mailbox,
                                   uint16_t routineId)
    : routineTable(routineTable), mailbox(mailbox), routineId(routineId) {}

void TaviCommandProxy::startLifeRoutine(TaviCommandProxyLifeRoutine::OnAbort onAbort) {
  auto life = std::make_shared<TaviCommandProxyLifeRoutine>(
      [self = shared_from_this(), onAbort = std::move(onAbort)](KvnTraceCtrlTaviAbortInd*& msg,
                                                                unsigned int size) {
        const bool closed = self->ended;  // else an abort while the command runs (Ctrl-C)
        if (onAbort) onAbort(msg, size);
        if (closed) self->releaseUnconfirmedText();
      });
  routineTable->allocate(life);
  life->start(mailbox, routineId);
}

void TaviCommandProxy::printChunk(const char* data, uint16_t length, uint16_t sequence,
                                  uint16_t stream,
                                  TaviCommandProxyPrintRoutine::OnConfirm onConfirm) {
  pxm_msg* msg =
      Routine::alloc_msg(offsetof(KvnTraceCtrlTaviPrintInd, text) + length + tavi::kPrintSlack);
  auto* print = reinterpret_cast<KvnTraceCtrlTaviPrintInd*>(msg);
  if (length > 0) memcpy(print->text, data, length);

  auto routine = std::make_shared<TaviCommandProxyPrintRoutine>(std::move(onConfirm));
  UnsentMessage unsent(msg);
  const uint16_t id = routineTable->allocate(routine);
  unsent.release();
  unconfirmed.erase(std::remove_if(unconfirmed.begin(), unconfirmed.end(),
                                   [](const auto& text) { return text.expired(); }),
                    unconfirmed.end());
  unconfirmed.push_back(routine);
  print->sequence = htons(sequence);
  print->stream = htons(stream);
  print->length = htons(length);
  routine->sendObs(msg, mailbox, id, routineId, tavi::kPrintInd);
}

void TaviCommandProxy::releaseUnconfirmedText() {
  for (const auto& text : unconfirmed)
    if (auto routine = text.lock()) routine->release();
  unconfirmed.clear();
}

void TaviCommandProxy::sendEnd(uint8_t result) {
  ended = true;
  pxm_msg* msg = Routine::alloc_msg(sizeof(KvnTraceCtrlTaviCommandEnded));
  auto* ended = reinterpret_cast<KvnTraceCtrlTaviCommandEnded*>(msg);
  ended->result = result;
  ended->padding = 0;
  sendFromTemporary(msg, tavi::kCommandEnded);
}

void TaviCommandProxy::refuse(uint32_t reason) {
  pxm_msg* msg = Routine::alloc_msg(sizeof(KvnTraceCtrlTaviCommandRefused));
  auto* refused = reinterpret_cast<KvnTraceCtrlTaviCommandRefused*>(msg);
  refused->protocolVersion = htonl(tavi::kProtocolVersion);
  refused->reason = htonl(reason);
  sendFromTemporary(msg, tavi::kCommandRefused);
}

void TaviCommandProxy::sendFromTemporary(pxm_msg*& msg, uint16_t submsgno) {
  auto routine = std::make_shared<Routine>();
  UnsentMessage unsent(std::exchange(msg, nullptr));
  const uint16_t id = routineTable->allocate(routine);
  msg = unsent.release();
  routine->sendObs(msg, mailbox, id, routineId, submsgno);
  routine->release();
}

}  // namespace kvn
