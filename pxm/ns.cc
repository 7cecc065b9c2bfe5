// The name server calls of libpxm: check the caller's arguments, ask the hub, and turn lookup
// answers into lists of messages.
#include "pxm/ns.h"

#include <chrono>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "pxm/client.h"
#include "pxm/message_block.h"
#include "pxm/misuse.h"
#include "pxm/ns_admin.h"
#include "pxm/ns_frame.h"

namespace {

using pxm::Client;
using pxm::MessageBlock;

static_assert(offsetof(ns_lookup_entry, names) == NS_LOOKUP_ENTRY_HEADER,
              "the service name of a lookup entry starts at offset 24");
static_assert(offsetof(ns_lookup_entry, name_length) == 2 * sizeof(void*),
              "the name's length is word 2");

constexpr std::chrono::milliseconds kDefaultLimit{10000};

// A caller's text as it goes on the wire; false when it is overlong, or empty where that is
// not allowed. A null pointer reads as empty.
bool takeText(const char* text, bool emptyAllowed, std::string_view* out) {
  const char* t = text ? text : "";
  const size_t n = ::strnlen(t, NS_MAX_NAME + 1);
  if (n > NS_MAX_NAME || (n == 0 && !emptyAllowed)) return false;
  *out = std::string_view(t, n);
  return true;
}

std::chrono::milliseconds limitOf(int32_t tmoMs) {
  return tmoMs < 0 ? kDefaultLimit : std::chrono::milliseconds(tmoMs);
}

// The client and the caller's own mailbox, or an NS_* error.
int32_t prepare(const char* function, pxm_mbox_id_t* mbox, std::shared_ptr<Client>* client) {
  *client = pxm::currentClient(function);
  if (!*client) return NS_NO_HUB;
  *mbox = (*client)->ownMailbox(*mbox, function);
  return *mbox == PXM_NO_MBOX ? NS_BAD_ARGUMENT : NS_OK;
}

int32_t call(Client& client, uint16_t type, const std::string& body) {
  uint32_t value = 0;
  std::string data;
  if (!client.call(type, body, &value, &data, kDefaultLimit)) return NS_NO_HUB;
  return static_cast<int32_t>(value);
}

// {mbox, u32 length, first, second}: the body of publish, unpublish and lookup.
std::string textsBody(pxm_mbox_id_t mbox, uint32_t word, bool withWord, std::string_view first,
                      std::string_view second) {
  std::string body;
  pxm::appendU32(body, mbox);
  if (withWord) pxm::appendU32(body, word);
  pxm::appendU32(body, static_cast<uint32_t>(first.size()));
  body.append(first);
  body.append(second);
  return body;
}

int32_t publishOrUnpublish(const char* function, uint16_t type, const char* service,
                           const char* attributes, pxm_mbox_id_t mbox) {
  std::string_view name, attrs;
  if (!takeText(service, false, &name) || !takeText(attributes, true, &attrs))
    return NS_BAD_ARGUMENT;
  std::shared_ptr<Client> client;
  if (const int32_t rc = prepare(function, &mbox, &client)) return rc;
  return call(*client, type, textsBody(mbox, 0, false, name, attrs));
}

// The list of messages for `count` entries in the wire form of ns_frame.h; null when there is
// none, or when memory runs short or the answer does not parse (nothing is half built).
pxm_msg* buildList(uint32_t count, const std::string& data) {
  pxm_msg* head = nullptr;
  pxm_msg** link = &head;
  size_t at = 0;
  auto fail = [&head]() -> pxm_msg* {
    if (head) MessageBlock::find(head)->release();
    return nullptr;
  };
  for (uint32_t i = 0; i < count; ++i) {
    pxm::NsWireEntry wire;
    if (data.size() - at < sizeof wire) return fail();
    std::memcpy(&wire, data.data() + at, sizeof wire);
    at += sizeof wire;
    const size_t names = size_t{wire.serviceSize} + wire.huntpathSize;
    if (wire.serviceSize == 0 || wire.huntpathSize == 0 || data.size() - at < names ||
        data[at + wire.serviceSize - 1] != '\0' || data[at + names - 1] != '\0')
      return fail();
    MessageBlock* block = MessageBlock::create(NS_LOOKUP_ENTRY_HEADER + names, NS_LOOKUP_ENTRY);
    if (!block) return fail();
    block->setChained();
    auto* entry = reinterpret_cast<ns_lookup_entry*>(block->payload());
    entry->next = nullptr;
    entry->mbox = wire.mbox;
    entry->name_length = wire.serviceSize;
    std::memcpy(entry->names, data.data() + at, names);
    at += names;
    *link = block->payload();
    link = &entry->next;
  }
  return head;
}

pxm_msg* fetchList(Client& client, uint16_t type, const std::string& body, int32_t tmoMs) {
  uint32_t count = 0;
  std::string data;
  if (!client.call(type, body, &count, &data, limitOf(tmoMs))) return nullptr;
  return buildList(count, data);
}

}  // namespace

extern "C" {

int32_t ns_publish(const char* service, const char* attributes, pxm_mbox_id_t mbox,
                   const char* extra) {
  (void)extra;
  return publishOrUnpublish("ns_publish", pxm::kNsPublish, service, attributes, mbox);
}

int32_t ns_unpublish(const char* service, const char* attributes, pxm_mbox_id_t mbox,
                     const char* extra) {
  (void)extra;
  return publishOrUnpublish("ns_unpublish", pxm::kNsUnpublish, service, attributes, mbox);
}

int32_t ns_subscribe(const char* service, const char* kind, uint64_t tag, pxm_mbox_id_t mbox) {
  std::string_view name, kindText;
  if (!takeText(service, false, &name) || !takeText(kind, true, &kindText)) return NS_BAD_ARGUMENT;
  std::shared_ptr<Client> client;
  if (const int32_t rc = prepare("ns_subscribe", &mbox, &client)) return rc;
  std::string body;
  pxm::appendU32(body, mbox);
  pxm::appendU64(body, tag);
  pxm::appendU32(body, static_cast<uint32_t>(name.size()));
  body.append(name);
  body.append(kindText);
  return call(*client, pxm::kNsSubscribe, body);
}

int32_t ns_unsubscribe(uint32_t subscription_id, pxm_mbox_id_t mbox) {
  std::shared_ptr<Client> client;
  if (const int32_t rc = prepare("ns_unsubscribe", &mbox, &client)) return rc;
  std::string body;
  pxm::appendU32(body, mbox);
  pxm::appendU32(body, subscription_id);
  return call(*client, pxm::kNsUnsubscribe, body);
}

union pxm_msg* ns_lookup(const char* service, const char* attributes, pxm_mbox_id_t mbox,
                         int32_t max_results, int32_t tmo_ms) {
  std::string_view name, attrs;
  if (!takeText(service, false, &name) || !takeText(attributes, true, &attrs)) return nullptr;
  std::shared_ptr<Client> client;
  if (prepare("ns_lookup", &mbox, &client) != NS_OK) return nullptr;
  return fetchList(*client, pxm::kNsLookup,
                   textsBody(mbox, static_cast<uint32_t>(max_results), true, name, attrs), tmo_ms);
}

union pxm_msg* pxm_ns_list(int32_t tmo_ms) {
  std::shared_ptr<Client> client = pxm::currentClient("pxm_ns_list");
  if (!client) return nullptr;
  return fetchList(*client, pxm::kNsList, std::string(), tmo_ms);
}

}  // extern "C"
