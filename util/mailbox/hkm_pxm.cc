#include "util/mailbox/hkm_pxm.h"

#include <algorithm>
#include <string>

#include "util/mailbox/hkm_pxm_exception.h"

namespace hkm {

std::string PXM::initErrorText(int32_t code) {
  std::string text = "error when calling pxm_init. ret code = ";
  text += code;  // one character, the way the operators have always seen it
  return text;
}

PXM::PXM(int32_t mailboxCount, int32_t allocScheme, const void* schemeParams, const char* nameSpace,
         uint32_t flags) {
  int32_t ret = pxm_init(mailboxCount, allocScheme, schemeParams, nameSpace, flags);
  if (ret != 0) throw PXMException(initErrorText(ret));
}

PXM::~PXM() {
  try {
    while (!mailboxes_.empty()) {
      pxm_mbox_id_t id = mailboxes_.back();
      mailboxes_.pop_back();
      pxm_delete_mailbox(id);
    }
    pxm_exit();
  } catch (...) {
  }
}

void PXM::free(pxm_msg*& msg) { pxm_free(&msg); }

pxm_msg* PXM::alloc(size_t size, uint32_t msgno) {
  pxm_msg* msg = pxm_alloc(size, msgno);
  if (msg == nullptr) throw PXMException("pxm_alloc() failed.");
  return msg;
}

pxm_mbox_id_t PXM::sender(pxm_msg* msg) { return pxm_sender(msg); }

pxm_mbox_id_t PXM::receiver(pxm_msg* msg) { return pxm_receiver(msg); }

size_t PXM::size(pxm_msg* msg) { return pxm_size(msg); }

bool PXM::setsize(pxm_msg* msg, size_t size) {
  if (pxm_setsize(msg, size) == 0) throw PXMException("pxm_setsize() failed.");
  return true;
}

void PXM::locate_async(const char* name, pxm_msg** msg, pxm_mbox_id_t from) {
  pxm_locate_async(name, msg, from);
}

pxm_mbox_id_t PXM::locate(const char* name) {
  pxm_mbox_id_t id = pxm_locate(name);
  if (id == PXM_NO_MBOX) throw PXMException(std::string("pxm_locate(") + name + ") failed.");
  return id;
}

bool PXM::get_name(pxm_mbox_id_t mbox, char* buffer, uint32_t size) {
  return pxm_get_name(mbox, buffer, size) != 0;
}

pxm_msg* PXM::receive(const uint32_t* filter, uint32_t timeoutMs, pxm_mbox_id_t from) {
  return pxm_receive(filter, timeoutMs, from);
}

void PXM::send(pxm_msg*& msg, pxm_mbox_id_t to, pxm_mbox_id_t from) { pxm_send(&msg, to, from); }

pxm_mbox_id_t PXM::create_mailbox(const char* name, uint32_t flags) {
  pxm_mbox_id_t id = pxm_create_mailbox(name, flags);
  if (id == PXM_NO_MBOX) {
    throw PXMException(std::string("pxm_create_mailbox(") + name + ") failed.");
  }
  mailboxes_.push_back(id);
  return id;
}

void PXM::delete_mailbox(pxm_mbox_id_t mbox) {
  auto it = std::find(mailboxes_.begin(), mailboxes_.end(), mbox);
  if (it != mailboxes_.end()) mailboxes_.erase(it);
  pxm_delete_mailbox(mbox);
}

pxm_monitor_id_t PXM::monitor(pxm_mbox_id_t mbox, pxm_msg*& msg) { return pxm_monitor(mbox, &msg); }

void PXM::unmonitor(pxm_monitor_id_t ref) { pxm_unmonitor(ref); }

}  // namespace hkm
