#pragma once
// What the hub knows of mailboxes: ids, names, owners, the monitors on them and the pending
// asynchronous locates. No sockets here: everything that must reach a mailbox leaves through
// the deliver function as a whole kDeliver frame, addressed to the owner's connection.
//
// Ids are handed out in rising order and never come back; names are unique among live
// mailboxes. A message to a mailbox that is gone is dropped.

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace pxm {

class MailboxDirectory {
 public:
  using ConnId = uint64_t;
  using DeliverFn = std::function<void(ConnId, std::vector<char>&&)>;

  static constexpr uint32_t kNoMailbox = 0xFFFFFFFFu;
  // Ids from here on are the library's sentinels and are never handed out.
  static constexpr uint32_t kFirstReserved = 0xFFF00000u;

  explicit MailboxDirectory(DeliverFn deliver);
  MailboxDirectory(const MailboxDirectory&) = delete;
  MailboxDirectory& operator=(const MailboxDirectory&) = delete;

  // A new mailbox of `owner`, or kNoMailbox when the name is taken or invalid. An empty name
  // makes a mailbox that cannot be located.
  uint32_t create(ConnId owner, std::string_view name);
  // Deletes a mailbox of `owner`; anything else is left alone.
  void remove(ConnId owner, uint32_t mbox);
  // Deletes every mailbox of a connection that is gone.
  void removeAll(ConnId owner);

  uint32_t locate(std::string_view name) const;
  // Null when there is no such mailbox.
  const std::string* nameOf(uint32_t mbox) const;
  bool owns(ConnId owner, uint32_t mbox) const;

  // Routes a whole kDeliver frame to its `to`; dropped unless `from` belongs to `sender`.
  void send(ConnId sender, std::vector<char>&& frame);
  // `frame` (a kDeliver frame to `requester`) goes out, from the located mailbox, as soon as
  // a mailbox of that name exists.
  void locateAsync(ConnId owner, uint32_t requester, std::string_view name,
                   std::vector<char>&& frame);
  // `frame` (a kDeliver frame to `watcher`, from `watched`) goes out when `watched` is gone,
  // at once if it is gone already. False when the monitor id is already in use.
  bool monitor(ConnId owner, uint32_t monitorId, uint32_t watcher, uint32_t watched,
               std::vector<char>&& frame);
  void unmonitor(ConnId owner, uint32_t monitorId);

  size_t mailboxCount() const { return mailboxes_.size(); }
  size_t monitorCount() const { return monitors_.size(); }
  size_t pendingLocateCount() const;
  // What the hub holds for one connection: monitors set and not yet fired, and asynchronous
  // locates still waiting for their name.
  size_t monitorsOf(ConnId owner) const;
  size_t pendingLocatesOf(ConnId owner) const;

 private:
  using MonitorKey = std::pair<ConnId, uint32_t>;
  struct Mailbox {
    ConnId owner;
    std::string name;
    std::vector<MonitorKey> watchedBy;  // in the order the monitors were set
    std::vector<MonitorKey> watching;
    std::vector<std::string> awaiting;  // names of its pending locates
  };
  struct Monitor {
    uint32_t watcher;
    uint32_t watched;
    std::vector<char> frame;
  };
  struct PendingLocate {
    ConnId owner;
    uint32_t requester;
    std::vector<char> frame;
  };
  struct Held {
    size_t monitors = 0;
    size_t locates = 0;
  };

  void kill(uint32_t mbox);
  void dropMonitor(const MonitorKey& key);
  // Erases a monitor and its count; the mailboxes' lists are the caller's.
  void eraseMonitor(std::map<MonitorKey, Monitor>::iterator it);
  void locateDone(ConnId owner);
  void deliver(std::vector<char>&& frame);

  DeliverFn deliver_;
  uint32_t nextId_ = 1;
  std::unordered_map<uint32_t, Mailbox> mailboxes_;
  std::unordered_map<std::string, uint32_t> names_;
  std::unordered_map<ConnId, std::vector<uint32_t>> owned_;
  std::map<MonitorKey, Monitor> monitors_;
  std::unordered_map<std::string, std::vector<PendingLocate>> locates_;
  std::unordered_map<ConnId, Held> held_;
};

}  // namespace pxm
