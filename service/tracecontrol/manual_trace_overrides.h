#pragma once
// The operator's manual switches of one agent: per trace object the group bits switched by hand
// and their direction, per utrace point (by its position) whether it was switched and to what.
// They win over every profile until a reset forgets them. Reading past the end is "no change"
// and never grows an array.

#include <stddef.h>
#include <stdint.h>

#include <vector>

namespace kvn {

class ManualTraceOverrides {
 public:
  struct ObjectOverride {
    uint32_t changed = 0;
    uint32_t on = 0;
  };
  struct UtraceOverride {
    bool changed = false;
    bool value = false;
  };

  // Switches the bits of `mask` on or off; the other bits keep their state.
  void set(size_t strId, uint32_t mask, bool on);
  uint32_t forcedOn(size_t strId) const;
  uint32_t forcedOff(size_t strId) const;
  // Hands the bits of `mask` back to the profiles.
  void forget(size_t strId, uint32_t mask);

  void setUtrace(size_t point, bool value);
  UtraceOverride utrace(size_t point) const;

  void clear();

  size_t objectCount() const { return objects_.size(); }
  size_t utraceCount() const { return utrace_.size(); }

 private:
  std::vector<ObjectOverride> objects_;  // by strId
  std::vector<UtraceOverride> utrace_;   // by position in the agent's point list
};

}  // namespace kvn
