#include "util/ns/ns_library_client.h"

#include "pxm/ns.h"

namespace kvn {

NsLibraryClient& NsLibraryClient::instance() {
  static NsLibraryClient client;
  return client;
}

int32_t NsLibraryClient::publish(const char* service, const char* attributes, pxm_mbox_id_t mbox,
                                 const char* extra) {
  return ns_publish(service, attributes, mbox, extra);
}

int32_t NsLibraryClient::unpublish(const char* service, const char* attributes, pxm_mbox_id_t mbox,
                                   const char* extra) {
  return ns_unpublish(service, attributes, mbox, extra);
}

int32_t NsLibraryClient::subscribe(const char* service, const char* kind, uint64_t tag,
                                   pxm_mbox_id_t mbox) {
  return ns_subscribe(service, kind, tag, mbox);
}

int32_t NsLibraryClient::unsubscribe(uint32_t subscriptionId, pxm_mbox_id_t mbox) {
  return ns_unsubscribe(subscriptionId, mbox);
}

pxm_msg* NsLibraryClient::lookup(const char* service, const char* attributes, pxm_mbox_id_t mbox,
                                 int32_t maxResults, int32_t tmoMs) {
  return ns_lookup(service, attributes, mbox, maxResults, tmoMs);
}

}  // namespace kvn
