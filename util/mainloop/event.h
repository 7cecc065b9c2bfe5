#pragma once

#include <cstdint>

#include "util/mainloop/event_id.h"

namespace kvntrace {

// Owns an event id where nothing else does; held by a shared pointer, and each new one is a
// new event (an agent's connection, say), with an id that no earlier Event had, even one that
// lived at the same address. Not copyable: a copy would be another event.
class Event {
 public:
  Event() : serial_(++s_lastSerial) {}
  Event(const Event&) = delete;
  Event& operator=(const Event&) = delete;

  EventId getId() const { return EventId(this, serial_); }

 private:
  static inline std::uint64_t s_lastSerial = 0;  // the one thread makes all events
  std::uint64_t serial_;
};

}  // namespace kvntrace
