#pragma once

#include <cstdint>

namespace kvntrace {

// Names an event by the address of the object that owns its source, so that every owner has a
// distinct id without a registry. An owner that is made anew for each occurrence (an agent's
// connection) also gives a serial number: a new owner may be placed at the address of a dead
// one, and its id must still differ, or old subscriptions would fire for the new connection.
// Compares and orders by value.
class EventId {
 public:
  EventId() = default;
  explicit EventId(const void* owner, std::uint64_t serial = 0)
      : id_(reinterpret_cast<std::uintptr_t>(owner)), serial_(serial) {}

  std::uintptr_t value() const { return id_; }

  friend bool operator==(EventId a, EventId b) { return a.id_ == b.id_ && a.serial_ == b.serial_; }
  friend bool operator!=(EventId a, EventId b) { return !(a == b); }
  friend bool operator<(EventId a, EventId b) {
    return a.id_ != b.id_ ? a.id_ < b.id_ : a.serial_ < b.serial_;
  }

 private:
  std::uintptr_t id_ = 0;
  std::uint64_t serial_ = 0;
};

}  // namespace kvntrace
