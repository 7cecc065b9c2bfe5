#pragma once
// The shell's own mailbox on the hub, through libpxm: the library is initialised and the
// mailbox created by open(), and both are given back by the destructor.

#include <string>

#include "kvnsh/mailbox.h"
#include "pxm/pxm.h"

namespace kvnsh {

class PxmMailbox : public Mailbox {
 public:
  PxmMailbox() = default;
  ~PxmMailbox() override;
  PxmMailbox(const PxmMailbox&) = delete;
  PxmMailbox& operator=(const PxmMailbox&) = delete;

  // Joins the hub in `nameSpace` (empty: the default one) under mailbox name `name`. False,
  // with `error` set, when there is no hub, the hub refuses the shell, or the mailbox cannot
  // be made; failure() then gives the shell's exit status.
  bool open(const std::string& nameSpace, const std::string& name, std::string* error);
  int failure() const { return failure_; }

  MailboxId locate(const std::string& name) override;
  bool send(MailboxId to, const uint8_t* data, size_t size) override;
  bool receive(uint32_t timeoutMs, Received* out) override;
  MonitorId monitor(MailboxId mailbox) override;
  void unmonitor(MonitorId monitor) override;

 private:
  void dropCurrent();

  bool initialised_ = false;
  int failure_ = 0;
  MailboxId own_ = kNoMailbox;
  union pxm_msg* current_ = nullptr;  // the last received message, freed at the next receive
};

}  // namespace kvnsh
