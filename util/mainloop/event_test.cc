#include "util/mainloop/event.h"

#include <gtest/gtest.h>

#include <new>

namespace {

using kvntrace::Event;
using kvntrace::EventId;

TEST(Event, NewEventAtADeadOnesAddressHasAnotherId) {
  alignas(Event) unsigned char storage[sizeof(Event)];
  Event* first = new (storage) Event;
  const EventId old = first->getId();
  first->~Event();
  Event* second = new (storage) Event;
  EXPECT_NE(second->getId(), old);
  EXPECT_EQ(second->getId(), second->getId());
  second->~Event();
}

TEST(Event, IdsOfOwnersWithoutSerialCompareByAddress) {
  int a = 0;
  int b = 0;
  EXPECT_EQ(EventId(&a), EventId(&a));
  EXPECT_NE(EventId(&a), EventId(&b));
  EXPECT_NE(EventId(&a) < EventId(&b), EventId(&b) < EventId(&a));
}

}  // namespace
