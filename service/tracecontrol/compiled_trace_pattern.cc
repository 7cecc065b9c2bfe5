#include "service/tracecontrol/compiled_trace_pattern.h"

#include <fnmatch.h>

#include <algorithm>

#include "tracetables/trace_group_table.h"

namespace kvn {

namespace {

bool onlyStars(std::string_view s) { return !s.empty() && s.find_first_not_of('*') == s.npos; }

// Runs of '*' match what one '*' matches.
std::string collapseStars(const std::string& s) {
  std::string out;
  out.reserve(s.size());
  for (char c : s)
    if (c != '*' || out.empty() || out.back() != '*') out.push_back(c);
  return out;
}

bool startsWith(std::string_view s, std::string_view p) {
  return s.size() >= p.size() && s.compare(0, p.size(), p) == 0;
}

bool endsWith(std::string_view s, std::string_view p) {
  return s.size() >= p.size() && s.compare(s.size() - p.size(), p.size(), p) == 0;
}

}  // namespace

void CompiledTracePattern::NameMatcher::compile(const std::string& text) {
  pattern = text;
  if (text.find_first_of("?[\\") != std::string::npos) {
    kind = kFnmatch;
    return;
  }
  const std::string s = collapseStars(text);
  const size_t star = s.find('*');
  if (star == std::string::npos) {
    kind = kLiteral;
    head = s;
  } else if (s == "*") {
    kind = kAny;
  } else if (s.find('*', star + 1) != std::string::npos) {
    kind = kFnmatch;
  } else {
    head = s.substr(0, star);
    tail = s.substr(star + 1);
    kind = head.empty() ? kSuffix : tail.empty() ? kPrefix : kPrefixSuffix;
  }
}

bool CompiledTracePattern::NameMatcher::matches(std::string_view name) const {
  switch (kind) {
    case kAny:
      return true;
    case kLiteral:
      return name == head;
    case kPrefix:
      return startsWith(name, head);
    case kSuffix:
      return endsWith(name, tail);
    case kPrefixSuffix:
      return name.size() >= head.size() + tail.size() && startsWith(name, head) &&
             endsWith(name, tail);
    case kFnmatch:
      break;
  }
  return fnmatch(pattern.c_str(), std::string(name).c_str(), 0) == 0;
}

CompiledTracePattern::CompiledTracePattern(const std::string& pattern)
    : pattern_(pattern), literalHead_(pattern.substr(0, pattern.find_first_of("*?[\\"))) {
  // Brackets and escapes can hide a dot or a star: matched as they stand.
  if (pattern.find_first_of("[\\") != std::string::npos) return;
  if (onlyStars(pattern)) {
    shape_ = kEverything;
    return;
  }
  // The text always ends in ".<group>" and a group holds no dot, so a literal group after the
  // pattern's last dot must be exactly the text's group.
  const size_t dot = pattern.rfind('.');
  if (dot == std::string::npos) return;
  const std::string group = pattern.substr(dot + 1);
  if (group.find_first_of("*?") == std::string::npos) {
    const int index = TraceGroupTable::indexOf(group);
    if (index < 0) {
      shape_ = kNever;
      return;
    }
    shape_ = kGroupTail;
    groupBit_ = TraceGroupTable::bit(static_cast<size_t>(index));
    object_.compile(pattern.substr(0, dot));
  } else if (onlyStars(group)) {
    // ".*" takes every group once the part before it matches up to some dot of the text.
    shape_ = kAnyTail;
    object_.compile(pattern.substr(0, dot));
  }
}

uint32_t CompiledTracePattern::anyTailBits(std::string_view object) const {
  if (object_.matches(object)) return TraceGroupTable::kAll;
  for (size_t dot = object.find('.'); dot != std::string_view::npos;
       dot = object.find('.', dot + 1)) {
    if (object_.matches(object.substr(0, dot))) return TraceGroupTable::kAll;
  }
  return 0;
}

uint32_t CompiledTracePattern::genericBits(const std::string& object) const {
  // The text is "<object>.<group>": its start must be the pattern's literal head.
  const size_t shared = std::min(object.size(), literalHead_.size());
  if (object.compare(0, shared, literalHead_, 0, shared) != 0) return 0;
  if (literalHead_.size() > object.size() && literalHead_[object.size()] != '.') return 0;
  uint32_t bits = 0;
  std::string text = object + ".";
  const size_t base = text.size();
  for (size_t i = 0; i < TraceGroupTable::kCount; ++i) {
    text.resize(base);
    text += TraceGroupTable::name(i);
    if (fnmatch(pattern_.c_str(), text.c_str(), 0) == 0) bits |= TraceGroupTable::bit(i);
  }
  return bits;
}

uint32_t CompiledTracePattern::groupBits(const std::string& object) const {
  switch (shape_) {
    case kNever:
      return 0;
    case kEverything:
      return TraceGroupTable::kAll;
    case kGroupTail:
      return object_.matches(object) ? groupBit_ : 0;
    case kAnyTail:
      return anyTailBits(object);
    case kGeneric:
      break;
  }
  return genericBits(object);
}

void CompiledTracePattern::orInto(ObjectNameIndex& index, std::vector<uint32_t>& bits) const {
  const std::vector<TraceObjectEntry>& objects = index.objects();
  switch (shape_) {
    case kNever:
      return;
    case kEverything:
      for (uint32_t& b : bits) b |= TraceGroupTable::kAll;
      return;
    case kGroupTail:
      if (object_.kind == NameMatcher::kLiteral) {
        if (const std::vector<uint32_t>* at = index.find(object_.head))
          for (uint32_t i : *at) bits[i] |= groupBit_;
        return;
      }
      if (object_.kind == NameMatcher::kAny) {
        for (uint32_t& b : bits) b |= groupBit_;
        return;
      }
      for (size_t i = 0; i < objects.size(); ++i)
        if (object_.matches(objects[i].name)) bits[i] |= groupBit_;
      return;
    case kAnyTail:
      for (size_t i = 0; i < objects.size(); ++i) bits[i] |= anyTailBits(objects[i].name);
      return;
    case kGeneric:
      for (size_t i = 0; i < objects.size(); ++i) bits[i] |= genericBits(objects[i].name);
      return;
  }
}

}  // namespace kvn
