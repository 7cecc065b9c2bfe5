#pragma once

#include <string>
#include <utility>
#include <vector>

namespace kvn {

// Asking the name server who publishes a service name, now. Blocks, up to a second.
class NsLookup {
 public:
  using Entry = std::pair<std::string, std::string>;  // service name, huntpath

  virtual ~NsLookup() = default;
  virtual std::vector<Entry> lookup(const std::string& name) = 0;
  // lookup() without the entries nobody can reach: those without a huntpath (an unnamed
  // mailbox cannot be located), and repeats of one huntpath.
  virtual std::vector<Entry> lookupFiltered(const std::string& name);
};

}  // namespace kvn
