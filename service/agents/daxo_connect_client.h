#pragma once
// Takes the agents in: receives their connect messages (routine 0, and routine 5 through a
// RoutineProxy), builds each agent's record, watches the agent's mailbox, and when the mailbox
// dies marks the agent gone and broadcasts its lost event. Raises the connect event after every
// connect message.

#include <stddef.h>
#include <stdint.h>

#include <memory>
#include <unordered_map>

#include "pxm/pxm.h"
#include "service/signals/daxo_connect_signals.h"
#include "util/mainloop/event.h"
#include "util/mainloop/routine.h"

class PxmMainloop;

namespace kvn {

class DaxoConnectClient : public Routine {
 public:
  static constexpr uint16_t kInitialConnectRoutine = daxo_connect::kInitialRoutine;
  static constexpr uint16_t kVersionConnectRoutine = daxo_connect::kVersionRoutine;

  // Installs the main loop's handler of the mailbox-gone signal.
  DaxoConnectClient(PxmMainloop& mainloop, std::shared_ptr<kvntrace::Event> connectEvent);
  explicit DaxoConnectClient(PxmMainloop& mainloop);
  // Stops watching the mailbox of every agent still connected.
  ~DaxoConnectClient() override;

  void pxm_message(pxm_msg*& msg, size_t msgsize) override;

  // A connect message, header in host order, body as received.
  void handleConnect(pxm_mbox_id_t mailbox, uint8_t* msg, size_t size);
  // The main loop's signal that a watched mailbox has gone.
  void handleLostMailbox(pxm_mbox_id_t mailbox);

  kvntrace::EventId getConnectEventId() const { return connectEvent_->getId(); }

 private:
  std::unordered_map<uint32_t, uint16_t> mailboxToDaxo_;
  PxmMainloop& mainloop_;
  std::shared_ptr<kvntrace::Event> connectEvent_;
};

}  // namespace kvn
