#pragma once
// The mailbox library as the service sees it. Everything that sends, receives or watches a
// mailbox goes through this interface, so that tests can put an in-process fake behind it.

#include <stddef.h>
#include <stdint.h>

#include "pxm/pxm.h"

namespace hkm {

class PXMInterface {
 public:
  virtual void free(pxm_msg*& msg) = 0;
  virtual pxm_msg* alloc(size_t size, uint32_t msgno) = 0;
  virtual pxm_mbox_id_t sender(pxm_msg* msg) = 0;
  virtual pxm_mbox_id_t receiver(pxm_msg* msg) = 0;
  virtual size_t size(pxm_msg* msg) = 0;
  virtual bool setsize(pxm_msg* msg, size_t size) = 0;
  virtual void locate_async(const char* name, pxm_msg** msg, pxm_mbox_id_t from) = 0;
  virtual pxm_mbox_id_t locate(const char* name) = 0;
  virtual bool get_name(pxm_mbox_id_t mbox, char* buffer, uint32_t size) = 0;
  // Null after the time-out.
  virtual pxm_msg* receive(const uint32_t* filter, uint32_t timeoutMs, pxm_mbox_id_t from) = 0;
  virtual void send(pxm_msg*& msg, pxm_mbox_id_t to, pxm_mbox_id_t from) = 0;
  virtual pxm_mbox_id_t create_mailbox(const char* name, uint32_t flags) = 0;
  virtual void delete_mailbox(pxm_mbox_id_t mbox) = 0;
  // When `mbox` dies, `msg` (or the library's own PXM_MBOX_GONE message if it is null) arrives
  // as if the dead mailbox had sent it.
  virtual pxm_monitor_id_t monitor(pxm_mbox_id_t mbox, pxm_msg*& msg) = 0;
  virtual void unmonitor(pxm_monitor_id_t ref) = 0;
  virtual ~PXMInterface() = default;
};

}  // namespace hkm
