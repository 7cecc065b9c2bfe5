#pragma once
// A probe's trace point pattern, prepared once so that the groups it selects on many trace
// objects are found without matching "<object>.<group>" for every one of the 22 groups.
//
// The result is always exactly what fnmatch(pattern, object + "." + group, 0) gives. Patterns of
// the common shapes ("*.check", "Obj*.info", "a.b.*", "*") reduce to one cheap test on the object
// name; anything else (brackets, escapes, wildcards in the group part) falls back to fnmatch.

#include <stdint.h>

#include <string>
#include <string_view>
#include <vector>

#include "service/tracecontrol/object_name_index.h"

namespace kvn {

class CompiledTracePattern {
 public:
  explicit CompiledTracePattern(const std::string& pattern);

  // The bits of the groups g for which the pattern matches "<object>.<g>".
  uint32_t groupBits(const std::string& object) const;
  // ORs groupBits() of every object of the index into `bits`, which is indexed like the objects.
  void orInto(ObjectNameIndex& index, std::vector<uint32_t>& bits) const;

  const std::string& pattern() const { return pattern_; }

 private:
  // A whole-text match on the object part of the pattern.
  struct NameMatcher {
    enum Kind { kAny, kLiteral, kPrefix, kSuffix, kPrefixSuffix, kFnmatch };
    Kind kind = kFnmatch;
    std::string head;     // literal text, or what stands before the one '*'
    std::string tail;     // what stands after the one '*'
    std::string pattern;  // for kFnmatch
    void compile(const std::string& text);
    bool matches(std::string_view name) const;
  };

  enum Shape {
    kNever,       // "x.notagroup": no group can ever match
    kEverything,  // only stars: every group of every object
    kGroupTail,   // "<object pattern>.<group>": that group where the object part matches
    kAnyTail,     // "<object pattern>.*": every group where a dotted head of the name matches
    kGeneric,     // fnmatch on each "<object>.<group>"
  };

  uint32_t anyTailBits(std::string_view object) const;
  uint32_t genericBits(const std::string& object) const;

  std::string pattern_;
  // The literal text a generic pattern starts with: a name whose text cannot start so is
  // passed over without fnmatch.
  std::string literalHead_;
  Shape shape_ = kGeneric;
  uint32_t groupBit_ = 0;
  NameMatcher object_;
};

}  // namespace kvn
