#include "pxm/mailbox_directory.h"

#include <algorithm>

#include "pxm/frame.h"

namespace pxm {

namespace {

template <typename T>
void eraseValue(std::vector<T>& v, const T& value) {
  v.erase(std::remove(v.begin(), v.end(), value), v.end());
}

bool validName(std::string_view name) {
  return name.size() <= kMaxNameLength && name.find('\0') == std::string_view::npos;
}

}  // namespace

MailboxDirectory::MailboxDirectory(DeliverFn deliver) : deliver_(std::move(deliver)) {}

uint32_t MailboxDirectory::create(ConnId owner, std::string_view name) {
  if (!validName(name) || nextId_ >= kFirstReserved) return kNoMailbox;
  if (!name.empty() && names_.count(std::string(name))) return kNoMailbox;
  const uint32_t id = nextId_++;
  mailboxes_.emplace(id, Mailbox{owner, std::string(name), {}, {}, {}});
  owned_[owner].push_back(id);
  if (name.empty()) return id;
  names_.emplace(std::string(name), id);

  // Whoever waited for this name hears of it now, from the new mailbox.
  auto waiting = locates_.find(std::string(name));
  if (waiting != locates_.end()) {
    std::vector<PendingLocate> pending = std::move(waiting->second);
    locates_.erase(waiting);
    for (PendingLocate& p : pending) {
      auto requester = mailboxes_.find(p.requester);
      if (requester != mailboxes_.end()) eraseValue(requester->second.awaiting, std::string(name));
      locateDone(p.owner);
      setRoute(p.frame, Route{p.requester, id});
      deliver(std::move(p.frame));
    }
  }
  return id;
}

void MailboxDirectory::remove(ConnId owner, uint32_t mbox) {
  if (owns(owner, mbox)) kill(mbox);
}

void MailboxDirectory::removeAll(ConnId owner) {
  auto it = owned_.find(owner);
  if (it == owned_.end()) return;
  const std::vector<uint32_t> ids = it->second;
  for (uint32_t id : ids) kill(id);
  owned_.erase(owner);
}

uint32_t MailboxDirectory::locate(std::string_view name) const {
  if (name.empty()) return kNoMailbox;
  auto it = names_.find(std::string(name));
  return it == names_.end() ? kNoMailbox : it->second;
}

const std::string* MailboxDirectory::nameOf(uint32_t mbox) const {
  auto it = mailboxes_.find(mbox);
  return it == mailboxes_.end() ? nullptr : &it->second.name;
}

bool MailboxDirectory::owns(ConnId owner, uint32_t mbox) const {
  auto it = mailboxes_.find(mbox);
  return it != mailboxes_.end() && it->second.owner == owner;
}

void MailboxDirectory::send(ConnId sender, std::vector<char>&& frame) {
  if (!owns(sender, routeOf(frame).from)) return;
  deliver(std::move(frame));
}

void MailboxDirectory::locateAsync(ConnId owner, uint32_t requester, std::string_view name,
                                   std::vector<char>&& frame) {
  if (!owns(owner, requester) || name.empty() || !validName(name)) return;
  const uint32_t found = locate(name);
  if (found != kNoMailbox) {
    setRoute(frame, Route{requester, found});
    deliver(std::move(frame));
    return;
  }
  locates_[std::string(name)].push_back(PendingLocate{owner, requester, std::move(frame)});
  mailboxes_.at(requester).awaiting.emplace_back(name);
  ++held_[owner].locates;
}

bool MailboxDirectory::monitor(ConnId owner, uint32_t monitorId, uint32_t watcher, uint32_t watched,
                               std::vector<char>&& frame) {
  const MonitorKey key{owner, monitorId};
  if (monitors_.count(key)) return false;
  if (!owns(owner, watcher)) return true;  // its mailbox went meanwhile: nobody to tell
  setRoute(frame, Route{watcher, watched});
  auto target = mailboxes_.find(watched);
  if (target == mailboxes_.end()) {
    deliver(std::move(frame));
    return true;
  }
  target->second.watchedBy.push_back(key);
  mailboxes_.at(watcher).watching.push_back(key);
  monitors_.emplace(key, Monitor{watcher, watched, std::move(frame)});
  ++held_[owner].monitors;
  return true;
}

void MailboxDirectory::unmonitor(ConnId owner, uint32_t monitorId) {
  dropMonitor(MonitorKey{owner, monitorId});
}

size_t MailboxDirectory::monitorsOf(ConnId owner) const {
  auto it = held_.find(owner);
  return it == held_.end() ? 0 : it->second.monitors;
}

size_t MailboxDirectory::pendingLocatesOf(ConnId owner) const {
  auto it = held_.find(owner);
  return it == held_.end() ? 0 : it->second.locates;
}

void MailboxDirectory::eraseMonitor(std::map<MonitorKey, Monitor>::iterator it) {
  auto held = held_.find(it->first.first);
  if (held != held_.end() && --held->second.monitors == 0 && held->second.locates == 0)
    held_.erase(held);
  monitors_.erase(it);
}

void MailboxDirectory::locateDone(ConnId owner) {
  auto held = held_.find(owner);
  if (held != held_.end() && --held->second.locates == 0 && held->second.monitors == 0)
    held_.erase(held);
}

size_t MailboxDirectory::pendingLocateCount() const {
  size_t n = 0;
  for (const auto& entry : locates_) n += entry.second.size();
  return n;
}

void MailboxDirectory::dropMonitor(const MonitorKey& key) {
  auto it = monitors_.find(key);
  if (it == monitors_.end()) return;
  auto watched = mailboxes_.find(it->second.watched);
  if (watched != mailboxes_.end()) eraseValue(watched->second.watchedBy, key);
  auto watcher = mailboxes_.find(it->second.watcher);
  if (watcher != mailboxes_.end()) eraseValue(watcher->second.watching, key);
  eraseMonitor(it);
}

void MailboxDirectory::kill(uint32_t mbox) {
  auto node = mailboxes_.extract(mbox);
  if (node.empty()) return;
  Mailbox& dead = node.mapped();
  if (!dead.name.empty()) names_.erase(dead.name);
  auto owned = owned_.find(dead.owner);
  if (owned != owned_.end()) eraseValue(owned->second, mbox);

  // What it watched and waited for ends with it.
  for (const MonitorKey& key : dead.watching) {
    auto it = monitors_.find(key);
    if (it == monitors_.end()) continue;
    auto watched = mailboxes_.find(it->second.watched);
    if (watched != mailboxes_.end()) eraseValue(watched->second.watchedBy, key);
    eraseMonitor(it);
  }
  for (const std::string& name : dead.awaiting) {
    auto it = locates_.find(name);
    if (it == locates_.end()) continue;
    auto& list = it->second;
    list.erase(std::remove_if(list.begin(), list.end(),
                              [this, mbox](const PendingLocate& p) {
                                if (p.requester != mbox) return false;
                                locateDone(p.owner);
                                return true;
                              }),
               list.end());
    if (list.empty()) locates_.erase(it);
  }

  // Its watchers hear of its end, in the order they began to watch.
  for (const MonitorKey& key : dead.watchedBy) {
    auto it = monitors_.find(key);
    if (it == monitors_.end()) continue;
    Monitor fired = std::move(it->second);
    eraseMonitor(it);
    auto watcher = mailboxes_.find(fired.watcher);
    if (watcher == mailboxes_.end()) continue;
    eraseValue(watcher->second.watching, key);
    deliver(std::move(fired.frame));
  }
}

void MailboxDirectory::deliver(std::vector<char>&& frame) {
  auto it = mailboxes_.find(routeOf(frame).to);
  if (it == mailboxes_.end()) return;
  deliver_(it->second.owner, std::move(frame));
}

}  // namespace pxm
