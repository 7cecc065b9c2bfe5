#include "util/tavi_command_proxy.h"

#include <arpa/inet.h>
#include <string.h>

#include <utility>

namespace kvn {

TaviCommandProxy::TaviCommandProxy(RoutineTable* routineTable, pxm_mbox_id_t mailbox,
                                   uint16_t routineId)
    : routineTable(routineTable), mailbox(mailbox), routineId(routineId) {}

void TaviCommandProxy::startLifeRoutine(TaviCommandProxyLifeRoutine::OnAbort onAbort) {
  auto life = std::make_shared<TaviCommandProxyLifeRoutine>(std::move(onAbort));
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
  uint16_t id = 0;
  try {
    id = routineTable->allocate(routine);
  } catch (...) {
    RoutineTable::s_pxmsys->free(msg);
    throw;
  }
  print->sequence = htons(sequence);
  print->stream = htons(stream);
  print->length = htons(length);
  routine->sendObs(msg, mailbox, id, routineId, tavi::kPrintInd);
}

void TaviCommandProxy::sendEnd(uint8_t result) {
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
  uint16_t id = 0;
  try {
    id = routineTable->allocate(routine);
  } catch (...) {
    RoutineTable::s_pxmsys->free(msg);
    throw;
  }
  routine->sendObs(msg, mailbox, id, routineId, submsgno);
  routine->release();
}

}  // namespace kvn
