#pragma once
// How enabled profiles become trace object masks and utrace point states on one agent, and the
// operation that brings an agent back to its whole wanted state: profiles first, then the
// operator's forced bits on top.

#include <stdint.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "tracetables/profile.h"

namespace kvntrace {
class ProfileProvider;
}

namespace kvn {

struct DaxoRecord;

class ProfileApplication {
 public:
  using Done = std::function<void()>;

  // The profiles `names` stand for, filtered for the agent's instance and role, each followed
  // by the profiles its trace points name, depth first and each once. Raises
  // BadProfileException for a name the provider does not hold.
  static std::vector<kvntrace::Profile> expandProfiles(const DaxoRecord& record,
                                                       const std::set<std::string>& names,
                                                       const kvntrace::ProfileProvider& provider);

  // Sets (enable) or clears the bits the profiles select on every object.
  static void applyToObjects(DaxoRecord& record, const std::set<std::string>& names, bool enable);
  // Switches every utrace point that one of the profiles names.
  static void applyToUtrace(DaxoRecord& record, const std::set<std::string>& names, bool enable);
  // Both, objects first.
  static void apply(DaxoRecord& record, const std::set<std::string>& names, bool enable);

  // Works the agent's masks and points out from scratch (defaults, enabled profiles, forced
  // bits) and sends all of them; `done` runs once the agent has confirmed both.
  static void reapplyAll(uint16_t bbmHwNumber, Done done);
};

}  // namespace kvn
