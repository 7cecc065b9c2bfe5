#include "pxm/name_server.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "pxm/frame.h"
#include "pxm/ns.h"
#include "pxm/ns_frame.h"

namespace pxm {

namespace {

uint64_t loadU64(const char* p) {
  uint64_t v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

// Splits `rest` after a u32 length at `at`: the first text of that length, then the rest.
// False when the length points past the end.
bool splitTexts(const char* body, size_t length, size_t at, std::string_view* first,
                std::string_view* second) {
  if (length < at + 4) return false;
  const size_t size = loadU32(body + at);
  const size_t start = at + 4;
  if (size > length - start) return false;
  *first = std::string_view(body + start, size);
  *second = std::string_view(body + start + size, length - start - size);
  return true;
}

}  // namespace

NameServer::NameServer(const MailboxDirectory& directory, DeliverFn deliver)
    : directory_(directory), deliver_(std::move(deliver)) {}

bool NameServer::handle(ConnId caller, uint16_t type, const char* body, size_t length,
                        Answer* answer) {
  std::string_view service, rest;
  switch (type) {
    case kNsPublish:
    case kNsUnpublish: {
      if (!splitTexts(body, length, 4, &service, &rest)) return false;
      const uint32_t mbox = loadU32(body);
      answer->value = type == kNsPublish ? publish(caller, mbox, service, rest)
                                         : unpublish(caller, mbox, service);
      return true;
    }
    case kNsSubscribe:
      if (!splitTexts(body, length, 12, &service, &rest)) return false;
      answer->value = subscribe(caller, loadU32(body), loadU64(body + 4), service, rest);
      return true;
    case kNsUnsubscribe:
      if (length != 8) return false;
      answer->value = unsubscribe(caller, loadU32(body), loadU32(body + 4));
      return true;
    case kNsLookup:
      if (!splitTexts(body, length, 8, &service, &rest)) return false;
      if (!directory_.owns(caller, loadU32(body)) || !validText(service, false) ||
          !validText(rest, true)) {
        answer->value = 0;  // nothing found for a request that cannot be right
        return true;
      }
      lookup(service, rest, static_cast<int32_t>(loadU32(body + 4)), answer);
      return true;
    case kNsList:
      if (length != 0) return false;
      list(answer);
      return true;
    default:
      return false;
  }
}

bool NameServer::validText(std::string_view text, bool emptyAllowed) {
  if (text.empty()) return emptyAllowed;
  // Texts travel as C strings: an inner NUL would make two names look alike.
  return text.size() <= NS_MAX_NAME && text.find('\0') == std::string_view::npos;
}

uint32_t NameServer::publish(ConnId caller, uint32_t mbox, std::string_view service,
                             std::string_view attributes) {
  if (!directory_.owns(caller, mbox) || !validText(service, false) || !validText(attributes, true))
    return NS_BAD_ARGUMENT;
  auto it = publications_.find(service);
  if (it == publications_.end())
    it = publications_.emplace(std::string(service), std::vector<Publication>{}).first;
  std::vector<Publication>& held = it->second;
  if (std::any_of(held.begin(), held.end(),
                  [mbox](const Publication& p) { return p.mbox == mbox; }))
    return NS_OK;
  const std::string* name = directory_.nameOf(mbox);
  held.push_back(Publication{mbox, caller, std::string(attributes), name ? *name : std::string()});
  announce(VOLD_SERVICE_ADDED_IND, it->first, held.back());
  return NS_OK;
}

uint32_t NameServer::unpublish(ConnId caller, uint32_t mbox, std::string_view service) {
  if (!directory_.owns(caller, mbox) || !validText(service, false)) return NS_BAD_ARGUMENT;
  auto it = publications_.find(service);
  if (it == publications_.end()) return NS_NOT_PUBLISHED;
  std::vector<Publication>& held = it->second;
  auto pos = std::find_if(held.begin(), held.end(),
                          [mbox](const Publication& p) { return p.mbox == mbox; });
  if (pos == held.end()) return NS_NOT_PUBLISHED;
  const Publication gone = std::move(*pos);
  held.erase(pos);
  const std::string name = it->first;
  if (held.empty()) publications_.erase(it);
  announce(VOLD_SERVICE_REMOVED_IND, name, gone);
  return NS_OK;
}

uint32_t NameServer::subscribe(ConnId caller, uint32_t mbox, uint64_t tag, std::string_view service,
                               std::string_view kind) {
  if (!directory_.owns(caller, mbox) || !validText(service, false) || !validText(kind, true))
    return NS_BAD_ARGUMENT;
  const uint32_t id = nextSubscription_++;
  if (nextSubscription_ == 0) nextSubscription_ = 1;  // 0 is nobody's
  const Subscription& sub =
      subscriptions_
          .emplace(id, Subscription{caller, mbox, std::string(service), std::string(kind)})
          .first->second;
  subscribers_[sub.service].insert(id);

  uint32_t rsp[4] = {VOLD_SUBSCRIBE_RSP, id, 0, 0};
  std::memcpy(&rsp[2], &tag, sizeof tag);
  deliver_(caller, makeDeliverFrame(mbox, MailboxDirectory::kNoMailbox, rsp, sizeof rsp));
  auto it = publications_.find(service);
  if (it != publications_.end())
    for (const Publication& p : it->second) indicate(VOLD_SERVICE_ADDED_IND, id, sub, p);
  return NS_OK;
}

uint32_t NameServer::unsubscribe(ConnId caller, uint32_t mbox, uint32_t subscriptionId) {
  auto it = subscriptions_.find(subscriptionId);
  if (it == subscriptions_.end() || it->second.owner != caller || it->second.mbox != mbox)
    return NS_NOT_SUBSCRIBED;
  auto subs = subscribers_.find(it->second.service);
  subs->second.erase(subscriptionId);
  if (subs->second.empty()) subscribers_.erase(subs);
  subscriptions_.erase(it);
  return NS_OK;
}

void NameServer::lookup(std::string_view service, std::string_view attributes, int32_t maxResults,
                        Answer* answer) const {
  answer->value = 0;
  auto it = publications_.find(service);
  if (it == publications_.end()) return;
  for (const Publication& p : it->second) {
    if (maxResults > 0 && answer->value >= static_cast<uint32_t>(maxResults)) break;
    if (!attributes.empty() && p.attributes != attributes) continue;
    appendNsEntry(answer->data, p.mbox, it->first, p.huntpath);
    ++answer->value;
  }
}

void NameServer::list(Answer* answer) const {
  answer->value = 0;
  for (const auto& entry : publications_) {
    for (const Publication& p : entry.second) {
      appendNsEntry(answer->data, p.mbox, entry.first, p.huntpath);
      ++answer->value;
    }
  }
}

void NameServer::mailboxGone(uint32_t mbox) {
  unsubscribeWhere([mbox](const Subscription& s) { return s.mbox == mbox; });
  withdrawWhere([mbox](const Publication& p) { return p.mbox == mbox; });
}

void NameServer::connectionGone(ConnId owner) {
  unsubscribeWhere([owner](const Subscription& s) { return s.owner == owner; });
  withdrawWhere([owner](const Publication& p) { return p.owner == owner; });
}

size_t NameServer::publicationCount() const {
  size_t n = 0;
  for (const auto& entry : publications_) n += entry.second.size();
  return n;
}

template <typename Pred>
void NameServer::withdrawWhere(Pred gone) {
  for (auto it = publications_.begin(); it != publications_.end();) {
    std::vector<Publication>& held = it->second;
    auto keep = std::stable_partition(held.begin(), held.end(),
                                      [&gone](const Publication& p) { return !gone(p); });
    std::vector<Publication> withdrawn(std::make_move_iterator(keep),
                                       std::make_move_iterator(held.end()));
    held.erase(keep, held.end());
    const std::string name = it->first;
    it = held.empty() ? publications_.erase(it) : std::next(it);
    for (const Publication& p : withdrawn) announce(VOLD_SERVICE_REMOVED_IND, name, p);
  }
}

template <typename Pred>
void NameServer::unsubscribeWhere(Pred gone) {
  for (auto it = subscriptions_.begin(); it != subscriptions_.end();) {
    if (!gone(it->second)) {
      ++it;
      continue;
    }
    auto subs = subscribers_.find(it->second.service);
    subs->second.erase(it->first);
    if (subs->second.empty()) subscribers_.erase(subs);
    it = subscriptions_.erase(it);
  }
}

void NameServer::announce(uint32_t msgno, const std::string& service,
                          const Publication& publication) {
  auto it = subscribers_.find(service);
  if (it == subscribers_.end()) return;
  for (uint32_t id : it->second) indicate(msgno, id, subscriptions_.at(id), publication);
}

void NameServer::indicate(uint32_t msgno, uint32_t subscriptionId, const Subscription& subscription,
                          const Publication& publication) {
  const std::string& service = subscription.service;
  const uint32_t head[5] = {msgno, subscriptionId, publication.mbox,
                            static_cast<uint32_t>(service.size() + 1),
                            static_cast<uint32_t>(publication.huntpath.size() + 1)};
  static_assert(sizeof head == NS_SERVICE_IND_HEADER, "the names follow the five words");
  std::string message(reinterpret_cast<const char*>(head), sizeof head);
  message.append(service.c_str(), service.size() + 1);
  message.append(publication.huntpath.c_str(), publication.huntpath.size() + 1);
  deliver_(subscription.owner, makeDeliverFrame(subscription.mbox, MailboxDirectory::kNoMailbox,
                                                message.data(), message.size()));
}

}  // namespace pxm
