#pragma once
// A running command: a routine that lives from `start()` to `end(result)`. It may wait for any
// number of answers on the way (with killable callbacks), prints its text to the front end in
// chunks, and must arrive at exactly one `end` on every path, the loss of its agents included.

#include <stddef.h>
#include <stdint.h>

#include <memory>
#include <string>

#include "tavi/tavi_protocol.h"
#include "util/cmd/tavi_command_proxy.h"
#include "util/mainloop/callback_utils.h"
#include "util/mainloop/routine.h"

namespace kvn {

class CmdSession : public Routine, public CallbackUtils {
 public:
  CmdSession() = default;

  // Sessions take no messages of their own; their answers go to waiting routines.
  void pxm_message(pxm_msg*& msg, size_t msgsize) override;

  // What the command does. Called once the session is registered.
  virtual void start() = 0;

  // The front end aborted or went away. Commands with something to undo override this and
  // call `end` themselves.
  virtual void abort(KvnTraceCtrlTaviAbortInd*& msg, size_t msgsize);

  // Connects the session to its front end: aborts reach `abort` for as long as the session
  // exists, and the front end is told that the command runs.
  void attachTavi(std::shared_ptr<TaviCommandProxy> proxy);

 protected:
  // Sends `text` in chunks of at most 50000 bytes, in order, without waiting for confirms.
  // An empty text is still one (empty) chunk.
  void print(const std::string& text);

  // One text message with its own confirm; the recorder dump paces itself with this.
  void printChunk(const char* data, uint16_t length, uint16_t sequence, uint16_t stream,
                  TaviCommandProxyPrintRoutine::OnConfirm onConfirm);

  // Ends the command with `result` and releases the session: nothing may be sent through it
  // afterwards.
  void end(uint8_t result);

  std::shared_ptr<TaviCommandProxy> taviProxy;
};

}  // namespace kvn
