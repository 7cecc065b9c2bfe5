#pragma once
// The name server of the hub: which mailboxes publish which service names, and who subscribed
// to them. No sockets here, as in MailboxDirectory: indications leave through the deliver
// function as whole kDeliver frames, and requests come in as frame bodies.
//
// A publication is held with the publisher's mailbox and that mailbox's name at the time (its
// huntpath) until it is withdrawn or the mailbox goes; the hub tells this object about every
// mailbox and every process that goes. Requests name a mailbox, which must belong to the
// calling process.

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "pxm/mailbox_directory.h"

namespace pxm {

class NameServer {
 public:
  using ConnId = MailboxDirectory::ConnId;
  using DeliverFn = MailboxDirectory::DeliverFn;

  // What the hub replies: the value of the kReply and its data.
  struct Answer {
    uint32_t value = 0;
    std::string data;
  };

  // `directory` gives names and owners of mailboxes and must outlive this object.
  NameServer(const MailboxDirectory& directory, DeliverFn deliver);
  NameServer(const NameServer&) = delete;
  NameServer& operator=(const NameServer&) = delete;

  // One request frame of a name service type, its leading request tag already taken off.
  // False when the frame is not one that libpxm sends (the hub then cuts the caller off);
  // requests that are well formed but wrong get an NS_* error in the answer.
  bool handle(ConnId caller, uint16_t type, const char* body, size_t length, Answer* answer);

  // The operations behind the frames; each returns an NS_* result.
  uint32_t publish(ConnId caller, uint32_t mbox, std::string_view service,
                   std::string_view attributes);
  uint32_t unpublish(ConnId caller, uint32_t mbox, std::string_view service);
  uint32_t subscribe(ConnId caller, uint32_t mbox, uint64_t tag, std::string_view service,
                     std::string_view kind);
  uint32_t unsubscribe(ConnId caller, uint32_t mbox, uint32_t subscriptionId);
  // Publications of `service` (oldest first) in the wire form of ns_frame.h; `attributes`
  // empty matches all; `maxResults` <= 0 means no limit. The count goes to `value`.
  void lookup(std::string_view service, std::string_view attributes, int32_t maxResults,
              Answer* answer) const;
  // Every publication, by service name and then oldest first.
  void list(Answer* answer) const;

  // A mailbox is gone: its publications are withdrawn and its subscriptions end.
  void mailboxGone(uint32_t mbox);
  // A process is gone: the same for all its mailboxes.
  void connectionGone(ConnId owner);

  size_t publicationCount() const;
  size_t subscriptionCount() const { return subscriptions_.size(); }

 private:
  struct Publication {
    uint32_t mbox;
    ConnId owner;
    std::string attributes;
    std::string huntpath;
  };
  struct Subscription {
    ConnId owner;
    uint32_t mbox;
    std::string service;
    std::string kind;
  };

  static bool validText(std::string_view text, bool emptyAllowed);
  // Sends an added or removed indication of one publication to every subscriber of `service`.
  void announce(uint32_t msgno, const std::string& service, const Publication& publication);
  void indicate(uint32_t msgno, uint32_t subscriptionId, const Subscription& subscription,
                const Publication& publication);
  // Withdraws every publication that `gone` selects, announcing each.
  template <typename Pred>
  void withdrawWhere(Pred gone);
  template <typename Pred>
  void unsubscribeWhere(Pred gone);

  const MailboxDirectory& directory_;
  DeliverFn deliver_;
  uint32_t nextSubscription_ = 1;
  std::map<std::string, std::vector<Publication>, std::less<>> publications_;
  std::map<uint32_t, Subscription> subscriptions_;
  std::map<std::string, std::set<uint32_t>, std::less<>> subscribers_;
};

}  // namespace pxm
