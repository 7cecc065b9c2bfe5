#pragma once
// The real mailbox library behind hkm::PXMInterface: each operation is one call of libpxm.

#include <string>
#include <vector>

#include "util/mailbox/hkm_pxm_interface.h"

namespace hkm {

class PXM : public PXMInterface {
 public:
  // Brings the library up; throws PXMException when pxm_init does not return 0.
  PXM(int32_t mailboxCount, int32_t allocScheme, const void* schemeParams, const char* nameSpace,
      uint32_t flags);
  // Deletes the mailboxes created through this object, then leaves the library. Never throws.
  ~PXM() override;
  PXM(const PXM&) = delete;
  PXM& operator=(const PXM&) = delete;

  void free(pxm_msg*& msg) override;
  pxm_msg* alloc(size_t size, uint32_t msgno) override;
  pxm_mbox_id_t sender(pxm_msg* msg) override;
  pxm_mbox_id_t receiver(pxm_msg* msg) override;
  size_t size(pxm_msg* msg) override;
  bool setsize(pxm_msg* msg, size_t size) override;
  void locate_async(const char* name, pxm_msg** msg, pxm_mbox_id_t from) override;
  pxm_mbox_id_t locate(const char* name) override;
  bool get_name(pxm_mbox_id_t mbox, char* buffer, uint32_t size) override;
  pxm_msg* receive(const uint32_t* filter, uint32_t timeoutMs, pxm_mbox_id_t from) override;
  void send(pxm_msg*& msg, pxm_mbox_id_t to, pxm_mbox_id_t from) override;
  pxm_mbox_id_t create_mailbox(const char* name, uint32_t flags) override;
  void delete_mailbox(pxm_mbox_id_t mbox) override;
  pxm_monitor_id_t monitor(pxm_mbox_id_t mbox, pxm_msg*& msg) override;
  void unmonitor(pxm_monitor_id_t ref) override;

  // The text of a failed pxm_init: the code is appended as one character.
  static std::string initErrorText(int32_t code);

 private:
  std::vector<pxm_mbox_id_t> mailboxes_;
};

}  // namespace hkm
