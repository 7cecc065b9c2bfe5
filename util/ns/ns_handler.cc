#include "util/ns/ns_handler.h"

#include <algorithm>
#include <cstring>

#include "pxm/ns.h"
#include "tracing/log.h"
#include "util/ns/ns_library_client.h"

namespace kvn {

namespace {

constexpr const char* kKind = "legacy";
constexpr int32_t kAnyNumberOfResults = -1;
constexpr int32_t kLookupTimeoutMs = 1000;

// Where the fields of the name server's messages are.
constexpr size_t kSubscriptionIdAt = 4;
constexpr size_t kTagAt = 8;
constexpr size_t kSubscribeRspSize = 16;
constexpr size_t kNameLengthAt = 12;
constexpr size_t kServiceNameAt = 20;

static_assert(kServiceNameAt == NS_SERVICE_IND_HEADER, "the service name follows five words");

uint32_t loadU32(const uint8_t* p) {
  uint32_t v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

// The NUL-terminated text at `p`, read no further than `room` bytes.
std::string boundedText(const uint8_t* p, size_t room) {
  const char* text = reinterpret_cast<const char*>(p);
  return std::string(text, ::strnlen(text, room));
}

}  // namespace

NsHandler::NsHandler(pxm_mbox_id_t mailbox, hkm::PXMInterface* pxm, NsClient* client)
    : mailbox_(mailbox), pxm_(pxm), client_(client ? client : &NsLibraryClient::instance()) {}

NsHandler::~NsHandler() = default;

void NsHandler::subscribe(const std::string& name, Callback callback) {
  if (callbacks_.count(name) != 0) return;
  CPMUTIL_LOG_DEBUG("Subscribing on service %s in nameserver", name.c_str());
  pendingSubscriptions_[nextTag_] = name;
  callbacks_[name] = std::move(callback);
  client_->subscribe(name.c_str(), kKind, nextTag_, mailbox_);
  ++nextTag_;
}

void NsHandler::unsubscribe(const std::string& name) {
  auto byName = [&name](const auto& entry) { return entry.second == name; };
  auto sub = std::find_if(subscriptions_.begin(), subscriptions_.end(), byName);
  if (sub != subscriptions_.end()) {
    CPMUTIL_LOG_DEBUG("Unsubscribing on service %s in nameserver", name.c_str());
    client_->unsubscribe(sub->first, mailbox_);
    subscriptions_.erase(sub);
  }
  auto pending = std::find_if(pendingSubscriptions_.begin(), pendingSubscriptions_.end(), byName);
  if (pending != pendingSubscriptions_.end()) pendingSubscriptions_.erase(pending);
  callbacks_.erase(name);
}

void NsHandler::handleMessage(pxm_mbox_id_t sender, pxm_msg*& msg, size_t size) {
  const auto* bytes = reinterpret_cast<const uint8_t*>(msg);
  switch (msg->msgno) {
    case VOLD_SUBSCRIBE_RSP:
      CPMUTIL_LOG_DEBUG("Received VOLD_SUBSCRIBE_RSP");
      handleSubscribeRsp(bytes, size);
      break;
    case VOLD_SERVICE_ADDED_IND:
      CPMUTIL_LOG_DEBUG("Received VOLD_SERVICE_ADDED_IND");
      handleServiceAdded(bytes, size);
      break;
    case VOLD_SERVICE_REMOVED_IND:
      CPMUTIL_LOG_DEBUG("Received VOLD_SERVICE_REMOVED_IND");
      break;
    default:
      CPMUTIL_LOG_DEBUG("Received unhandled signal");
      break;
  }
}

void NsHandler::handleSubscribeRsp(const uint8_t* msg, size_t size) {
  if (size < kSubscribeRspSize) {
    CPMUTIL_LOG_ERROR("Dropped VOLD_SUBSCRIBE_RSP of %zu bytes", size);
    return;
  }
  const uint32_t id = loadU32(msg + kSubscriptionIdAt);
  uint64_t tag;
  std::memcpy(&tag, msg + kTagAt, sizeof tag);
  auto pending = pendingSubscriptions_.find(tag);
  if (pending == pendingSubscriptions_.end()) {
    // Cancelled while the answer was on its way.
    CPMUTIL_LOG_DEBUG("Received subscribe response for unwanted subscription");
    client_->unsubscribe(id, mailbox_);
    return;
  }
  subscriptions_[id] = std::move(pending->second);
  pendingSubscriptions_.erase(pending);
}

void NsHandler::handleServiceAdded(const uint8_t* msg, size_t size) {
  if (size < kServiceNameAt) {
    CPMUTIL_LOG_ERROR("Dropped VOLD_SERVICE_ADDED_IND of %zu bytes", size);
    return;
  }
  auto sub = subscriptions_.find(loadU32(msg + kSubscriptionIdAt));
  if (sub == subscriptions_.end()) {
    CPMUTIL_LOG_DEBUG("Received service added for unknown subscription");
    return;
  }
  const size_t nameLength = loadU32(msg + kNameLengthAt);
  if (nameLength == 0 || nameLength > size - kServiceNameAt) {
    CPMUTIL_LOG_ERROR("Dropped VOLD_SERVICE_ADDED_IND: name length %zu in %zu bytes", nameLength,
                      size);
    return;
  }
  const size_t huntpathAt = kServiceNameAt + nameLength;
  const Entry entry(boundedText(msg + kServiceNameAt, nameLength),
                    boundedText(msg + huntpathAt, size - huntpathAt));
  auto callback = callbacks_.find(sub->second);
  if (callback == callbacks_.end()) return;
  // A copy: the callback may unsubscribe, which erases its own entry.
  const Callback call = callback->second;
  call(entry);
}

std::vector<NsHandler::Entry> NsHandler::lookup(const std::string& name) {
  std::vector<Entry> entries;
  pxm_msg* list =
      client_->lookup(name.c_str(), "", mailbox_, kAnyNumberOfResults, kLookupTimeoutMs);
  for (pxm_msg* m = list; m;) {
    const size_t size = pxm_->size(m);
    const auto* entry = reinterpret_cast<const ns_lookup_entry*>(m);
    if (size < NS_LOOKUP_ENTRY_HEADER || entry->name_length == 0 ||
        entry->name_length > size - NS_LOOKUP_ENTRY_HEADER) {
      CPMUTIL_LOG_ERROR("Dropped the rest of a nameserver lookup: entry of %zu bytes", size);
      break;
    }
    const auto* names = reinterpret_cast<const uint8_t*>(entry->names);
    const size_t huntpathAt = NS_LOOKUP_ENTRY_HEADER + entry->name_length;
    entries.emplace_back(boundedText(names, entry->name_length),
                         boundedText(names + entry->name_length, size - huntpathAt));
    m = entry->next;
  }
  if (list) pxm_->free(list);
  return entries;
}

void NsHandler::publish(const std::string& name) {
  const int32_t rc = client_->publish(name.c_str(), "", mailbox_, "");
  if (rc != 0) {
    CPMUTIL_LOG_ERROR("Nameserver publish failed with code %d\n", rc);
    return;
  }
  publishedNames_.push_back(name);
}

void NsHandler::unpublish(const std::string& name) {
  const int32_t rc = client_->unpublish(name.c_str(), "", mailbox_, "");
  if (rc != 0) CPMUTIL_LOG_ERROR("Nameserver unpublish failed with code %d\n", rc);
  publishedNames_.erase(std::remove(publishedNames_.begin(), publishedNames_.end(), name),
                        publishedNames_.end());
}

std::vector<uint32_t> NsHandler::getSignals() {
  return {VOLD_SUBSCRIBE_RSP, VOLD_SERVICE_ADDED_IND, VOLD_SERVICE_REMOVED_IND};
}

}  // namespace kvn
