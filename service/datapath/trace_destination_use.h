#pragma once
// One agent's use of a destination: which of its sources (client keys) are routed there, and
// the transport session they share.

#include <stdint.h>

#include <memory>
#include <set>

namespace kvn {

class DaxoTnSession;

struct TraceDestinationUse {
  std::set<uint32_t> clients;
  // The running session; it ends itself, so it is not owned here.
  std::weak_ptr<DaxoTnSession> session;
};

}  // namespace kvn
