#pragma once

#include "util/ns/ns_client.h"

namespace kvn {

// The real name server client: each call is the ns_* function of libpxm.
class NsLibraryClient : public NsClient {
 public:
  // The one instance; it has no state.
  static NsLibraryClient& instance();

  int32_t publish(const char* service, const char* attributes, pxm_mbox_id_t mbox,
                  const char* extra) override;
  int32_t unpublish(const char* service, const char* attributes, pxm_mbox_id_t mbox,
                    const char* extra) override;
  int32_t subscribe(const char* service, const char* kind, uint64_t tag,
                    pxm_mbox_id_t mbox) override;
  int32_t unsubscribe(uint32_t subscriptionId, pxm_mbox_id_t mbox) override;
  pxm_msg* lookup(const char* service, const char* attributes, pxm_mbox_id_t mbox,
                  int32_t maxResults, int32_t tmoMs) override;
};

}  // namespace kvn
