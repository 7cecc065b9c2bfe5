#pragma once

#include "util/event_id.h"

namespace kvntrace {

// Owns an event id where nothing else does; held by a shared pointer, and each new one is a
// new event (an agent's connection, say). Not copyable: a copy would be another event.
class Event {
 public:
  Event() = default;
  Event(const Event&) = delete;
  Event& operator=(const Event&) = delete;

  EventId getId() const { return EventId(this); }
};

}  // namespace kvntrace
