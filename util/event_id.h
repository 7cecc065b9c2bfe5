#pragma once

#include <cstdint>

namespace kvntrace {

// Names an event by the address of the object that owns its source, so that every owner has a
// distinct id without a registry. Compares and orders by value.
class EventId {
 public:
  EventId() = default;
  explicit EventId(const void* owner) : id_(reinterpret_cast<std::uintptr_t>(owner)) {}

  std::uintptr_t value() const { return id_; }

  friend bool operator==(EventId a, EventId b) { return a.id_ == b.id_; }
  friend bool operator!=(EventId a, EventId b) { return a.id_ != b.id_; }
  friend bool operator<(EventId a, EventId b) { return a.id_ < b.id_; }

 private:
  std::uintptr_t id_ = 0;
};

}  // namespace kvntrace
