#include "pxm/peer_access.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <vector>

namespace pxm {

std::optional<gid_t> PeerAccess::findGroup(const std::string& nameOrNumber) {
  if (nameOrNumber.empty()) return std::nullopt;
  if (const group* g = ::getgrnam(nameOrNumber.c_str())) return g->gr_gid;
  char* end = nullptr;
  errno = 0;
  const unsigned long n = std::strtoul(nameOrNumber.c_str(), &end, 10);
  if (errno != 0 || *end != '\0' || nameOrNumber[0] == '-' || n >= static_cast<gid_t>(-1))
    return std::nullopt;
  return static_cast<gid_t>(n);
}

bool PeerAccess::admits(int fd, const ucred& cred, std::string* why) const {
  if (cred.uid == hubUid_ || (gid_ && member(fd, cred))) return true;
  *why = gid_ ? "not a member of group " + groupName_ : "not the hub's user";
  return false;
}

bool PeerAccess::member(int fd, const ucred& cred) const {
  if (cred.gid == *gid_) return true;
  // The groups the process holds now, as the kernel saw them at connect.
  std::vector<gid_t> groups(64);
  for (;;) {
    socklen_t len = static_cast<socklen_t>(groups.size() * sizeof(gid_t));
    if (::getsockopt(fd, SOL_SOCKET, SO_PEERGROUPS, groups.data(), &len) == 0) {
      groups.resize(len / sizeof(gid_t));
      return std::find(groups.begin(), groups.end(), *gid_) != groups.end();
    }
    if (errno != ERANGE || len / sizeof(gid_t) <= groups.size()) break;
    groups.resize(len / sizeof(gid_t));
  }
  // A kernel without SO_PEERGROUPS: the groups of the peer's user.
  const passwd* pw = ::getpwuid(cred.uid);
  if (!pw) return false;
  int count = static_cast<int>(groups.size());
  groups.resize(static_cast<size_t>(count));
  if (::getgrouplist(pw->pw_name, pw->pw_gid, groups.data(), &count) < 0) {
    groups.resize(static_cast<size_t>(count));
    if (::getgrouplist(pw->pw_name, pw->pw_gid, groups.data(), &count) < 0) return false;
  }
  groups.resize(static_cast<size_t>(count));
  return std::find(groups.begin(), groups.end(), *gid_) != groups.end();
}

}  // namespace pxm
