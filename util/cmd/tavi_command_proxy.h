#pragma once
// Where one command's front end is: its mailbox and the routine that sent the request. Shared
// by the session and the factory; everything a command sends to its front end goes through it.

#include <stdint.h>

#include <functional>
#include <memory>
#include <vector>

#include "pxm/pxm.h"
#include "tavi/tavi_protocol.h"
#include "util/cmd/tavi_command_proxy_life_routine.h"
#include "util/cmd/tavi_command_proxy_print_routine.h"
#include "util/mainloop/routine_table.h"

namespace kvn {

class TaviCommandProxy : public std::enable_shared_from_this<TaviCommandProxy> {
 public:
  TaviCommandProxy(RoutineTable* routineTable, pxm_mbox_id_t mailbox, uint16_t routineId);

  // Registers a life routine that carries aborts to `onAbort`, watches the front end and
  // tells it the command is accepted (5). Held shared: the life routine keeps it.
  void startLifeRoutine(TaviCommandProxyLifeRoutine::OnAbort onAbort);

  // One text message (8), with a routine of its own that runs `onConfirm` at the confirm.
  void printChunk(const char* data, uint16_t length, uint16_t sequence, uint16_t stream,
                  TaviCommandProxyPrintRoutine::OnConfirm onConfirm);

  // The command ended with `result` (7).
  void sendEnd(uint8_t result);

  // The command is refused (6) for `reason`.
  void refuse(uint32_t reason);

  RoutineTable* getRoutineTable() const { return routineTable; }
  pxm_mbox_id_t getMailbox() const { return mailbox; }
  uint16_t getRoutineId() const { return routineId; }

 private:
  // Sends from a plain routine registered for this one message.
  void sendFromTemporary(pxm_msg*& msg, uint16_t submsgno);

  // The front end closes a command after its end, by an abort once it has confirmed all its
  // text, or by dying: a text not confirmed by then never will be, and its routine goes.
  void releaseUnconfirmedText();

  RoutineTable* routineTable;
  pxm_mbox_id_t mailbox;
  uint16_t routineId;
  bool ended = false;
  std::vector<std::weak_ptr<TaviCommandProxyPrintRoutine>> unconfirmed;
};

}  // namespace kvn
