#include "util/mainloop/event_callback_routine.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "util/mainloop/event.h"
#include "util/mainloop/routine_table.h"
#include "util/testing/fake_pxm.h"

namespace kvn {
namespace {

TEST(EventCallbackRoutine, FirstCallbackOfAnEventStaysAndRemovalUnsubscribes) {
  kvn::testing::FakePxm pxm;
  RoutineTable table(&pxm, kvn::testing::FakePxm::kBaseSignalNo);
  auto lost = std::make_shared<kvntrace::Event>();
  auto other = std::make_shared<kvntrace::Event>();
  std::vector<int> calls;

  auto routine = std::make_shared<EventCallbackRoutine>();
  routine->addEventCallback(lost->getId(), [&](kvntrace::EventId) { calls.push_back(1); });
  routine->addEventCallback(lost->getId(), [&](kvntrace::EventId) { calls.push_back(2); });
  routine->addEventCallback(other->getId(), [&](kvntrace::EventId) { calls.push_back(3); });
  table.allocate(routine);

  table.sendEvent(lost->getId());
  EXPECT_EQ(calls, (std::vector<int>{1}));
  routine->removeEventCallback(lost->getId());
  table.sendEvent(lost->getId());
  table.sendEvent(other->getId());
  EXPECT_EQ(calls, (std::vector<int>{1, 3}));
}

}  // namespace
}  // namespace kvn
