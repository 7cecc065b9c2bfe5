#pragma once
// The 22 trace groups of a trace object, in their fixed order: group i is bit 1 << i of the
// object's mask. "all" is not a group; it names the union of all of them where it is accepted.

#include <stddef.h>
#include <stdint.h>

#include <string>

namespace kvn {

class TraceGroupTable {
 public:
  static constexpr size_t kCount = 22;
  static constexpr uint32_t kAll = 0x3FFFFF;

  static size_t count() { return kCount; }
  // Exact and case-sensitive; -1 for an unknown name.
  static int indexOf(const std::string& name);
  // 0 for an index of 32 or more.
  static uint32_t bit(size_t index) { return index < 32 ? 1u << index : 0; }
  // The name of a group index below count().
  static const char* name(size_t index);
  // 0 for an unknown name, kAll for "all".
  static uint32_t bitOf(const std::string& name);
};

}  // namespace kvn
