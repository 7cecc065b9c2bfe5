#pragma once
// Who may attach to the hub: a process of the hub's own user, and, when the hub serves a
// group, a process whose group or one of whose supplementary groups is that group. Read from
// the connected socket's peer credentials, so nothing here waits on anything.

#include <sys/socket.h>
#include <sys/types.h>

#include <optional>
#include <string>

namespace pxm {

class PeerAccess {
 public:
  // The hub's user only.
  explicit PeerAccess(uid_t hubUid) : hubUid_(hubUid) {}
  // The hub's user and the members of group `gid`, named `groupName` in refusals.
  PeerAccess(uid_t hubUid, gid_t gid, std::string groupName)
      : hubUid_(hubUid), gid_(gid), groupName_(std::move(groupName)) {}

  // A group given by name, or by number when no group has that name; nullopt when neither.
  static std::optional<gid_t> findGroup(const std::string& nameOrNumber);

  // Whether the peer of `fd`, whose credentials are `cred`, may attach; `why` says why not.
  bool admits(int fd, const ucred& cred, std::string* why) const;

 private:
  bool member(int fd, const ucred& cred) const;

  uid_t hubUid_;
  std::optional<gid_t> gid_;
  std::string groupName_;
};

}  // namespace pxm
