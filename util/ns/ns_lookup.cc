#include "util/ns/ns_lookup.h"

#include <algorithm>
#include <set>

namespace kvn {

std::vector<NsLookup::Entry> NsLookup::lookupFiltered(const std::string& name) {
  std::vector<Entry> entries = lookup(name);
  std::set<std::string> seen;
  entries.erase(std::remove_if(entries.begin(), entries.end(),
                               [&seen](const Entry& e) {
                                 return e.second.empty() || !seen.insert(e.second).second;
                               }),
                entries.end());
  return entries;
}

}  // namespace kvn
