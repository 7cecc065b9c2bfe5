#include "kvnsh/pxm_mailbox.h"

#include <string.h>

#include "kvnsh/exit_status.h"

namespace kvnsh {

PxmMailbox::~PxmMailbox() {
  dropCurrent();
  if (own_ != kNoMailbox) pxm_delete_mailbox(own_);
  if (initialised_) pxm_exit();
}

bool PxmMailbox::open(const std::string& nameSpace, const std::string& name, std::string* error) {
  static const char kScheme[64] = {};
  const int32_t rc = pxm_init(2, 0, kScheme, nameSpace.empty() ? nullptr : nameSpace.c_str(), 0);
  if (rc == PXM_INIT_NOT_ALLOWED || rc == PXM_INIT_TOO_MANY_OF_USER || rc == PXM_INIT_TOO_MANY) {
    *error = std::string(rc == PXM_INIT_NOT_ALLOWED ? "not allowed to reach the mailbox hub: "
                                                    : "the mailbox hub refused the shell: ") +
             pxm_init_refusal();
    failure_ = rc == PXM_INIT_NOT_ALLOWED ? kExitNotAllowed : kExitHubFull;
    return false;
  }
  failure_ = kExitNoHub;
  if (rc != 0) {
    *error = "cannot reach the mailbox hub" +
             (nameSpace.empty() ? std::string() : " of namespace \"" + nameSpace + "\"") +
             " (pxm_init returned " + std::to_string(rc) + "); is pxmd running?";
    return false;
  }
  initialised_ = true;
  own_ = pxm_create_mailbox(name.c_str(), 0);
  if (own_ == PXM_NO_MBOX) {
    *error = "cannot create mailbox \"" + name + "\" on the hub";
    return false;
  }
  return true;
}

MailboxId PxmMailbox::locate(const std::string& name) {
  const pxm_mbox_id_t id = pxm_locate(name.c_str());
  return id == PXM_NO_MBOX ? kNoMailbox : id;
}

bool PxmMailbox::send(MailboxId to, const uint8_t* data, size_t size) {
  uint32_t signal;
  memcpy(&signal, data, sizeof signal);
  union pxm_msg* msg = pxm_alloc(size, signal);
  if (!msg) return false;
  memcpy(msg, data, size);
  pxm_send(&msg, to, PXM_MY_MBOX);
  return true;
}

bool PxmMailbox::receive(uint32_t timeoutMs, Received* out) {
  dropCurrent();
  current_ = pxm_receive(nullptr, timeoutMs, PXM_FROM_ALL);
  if (!current_) return false;
  out->sender = pxm_sender(current_);
  out->data = reinterpret_cast<const uint8_t*>(current_);
  out->size = pxm_size(current_);
  return true;
}

MonitorId PxmMailbox::monitor(MailboxId mailbox) {
  union pxm_msg* none = nullptr;
  return pxm_monitor(mailbox, &none);
}

void PxmMailbox::unmonitor(MonitorId monitor) { pxm_unmonitor(monitor); }

void PxmMailbox::dropCurrent() {
  if (current_) pxm_free(&current_);
  current_ = nullptr;
}

}  // namespace kvnsh
