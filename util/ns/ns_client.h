#pragma once
// The name server client calls as NsHandler makes them: one virtual per ns_* function of the
// mailbox library, so that tests can put a recorder in their place.

#include <stdint.h>

#include "pxm/pxm.h"

namespace kvn {

class NsClient {
 public:
  virtual ~NsClient() = default;
  virtual int32_t publish(const char* service, const char* attributes, pxm_mbox_id_t mbox,
                          const char* extra) = 0;
  virtual int32_t unpublish(const char* service, const char* attributes, pxm_mbox_id_t mbox,
                            const char* extra) = 0;
  virtual int32_t subscribe(const char* service, const char* kind, uint64_t tag,
                            pxm_mbox_id_t mbox) = 0;
  virtual int32_t unsubscribe(uint32_t subscriptionId, pxm_mbox_id_t mbox) = 0;
  // A list of entries (pxm/ns.h), freed by freeing its head; null when none.
  virtual pxm_msg* lookup(const char* service, const char* attributes, pxm_mbox_id_t mbox,
                          int32_t maxResults, int32_t tmoMs) = 0;
};

}  // namespace kvn
