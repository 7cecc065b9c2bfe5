#pragma once
// The positions of an agent's trace objects by name, built on first use. Names may repeat in a
// container, so a name gives every position that carries it, ascending.

#include <stdint.h>

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "service/agents/trace_object_entry.h"

namespace kvn {

class ObjectNameIndex {
 public:
  // The list is not copied and must outlive the index, unchanged.
  explicit ObjectNameIndex(const std::vector<TraceObjectEntry>& objects) : objects_(objects) {}

  // The positions of objects named `name`, or null.
  const std::vector<uint32_t>* find(std::string_view name);

  const std::vector<TraceObjectEntry>& objects() const { return objects_; }

 private:
  const std::vector<TraceObjectEntry>& objects_;
  bool built_ = false;
  std::unordered_map<std::string_view, std::vector<uint32_t>> byName_;
};

}  // namespace kvn
