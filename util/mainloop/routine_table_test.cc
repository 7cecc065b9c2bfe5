#include "util/mainloop/routine_table.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/kvn_obs_sub_message_with_sub_msg_no.h"
#include "tracing/log_capture.h"
#include "util/mainloop/event.h"
#include "util/mainloop/routine.h"
#include "util/testing/loop_with_table.h"

namespace kvn {
namespace {

using kvn::log::Level;
using kvn::log::LogCapture;
using kvn::testing::FakePxm;

// Runs a test-given body for each message and tells the test when it dies.
class ScriptedRoutine : public Routine {
 public:
  std::function<void(ScriptedRoutine&, pxm_msg*&, size_t)> onMessage;
  std::function<void(kvntrace::EventId)> onHandle;
  bool* destroyed = nullptr;

  ~ScriptedRoutine() override {
    if (destroyed != nullptr) *destroyed = true;
  }
  void pxm_message(pxm_msg*& msg, size_t size) override {
    if (onMessage) onMessage(*this, msg, size);
  }
  void handleEvent(kvntrace::EventId event) override {
    if (onHandle) onHandle(event);
  }
};

class RoutineTableTest : public ::testing::Test, protected kvn::testing::LoopWithTable {
 protected:
  pxm_mbox_id_t peer = pxm.createPeer("peer");

  void TearDown() override { EXPECT_EQ(pxm.badFrees(), 0); }
};

TEST_F(RoutineTableTest, FreeNumbersCountDownFrom1199SkippingFixedAndNeverZero) {
  table.allocate(std::make_shared<Routine>(), 1198);
  table.allocate(std::make_shared<Routine>(), 1);
  EXPECT_EQ(table.allocate(std::make_shared<Routine>()), 1199);
  EXPECT_EQ(table.allocate(std::make_shared<Routine>()), 1197);

  // A freed number comes back only after every other one was handed out.
  table.free(1199);
  std::vector<uint16_t> handedOut;
  try {
    for (;;) handedOut.push_back(table.allocate(std::make_shared<Routine>()));
  } catch (const RoutineTable::Exception::IdError&) {
  }
  ASSERT_EQ(handedOut.size(), 1196u);  // 1196 .. 2, then 1199 again
  EXPECT_EQ(handedOut.front(), 1196);
  EXPECT_EQ(handedOut[handedOut.size() - 2], 2);
  EXPECT_EQ(handedOut.back(), 1199);
  EXPECT_FALSE(table.get(0));
}

TEST_F(RoutineTableTest, FixedNumbersOutOfRangeOrTakenThrowTheirOwnTypes) {
  EXPECT_THROW(table.allocate(std::make_shared<Routine>(), 1200), RoutineTable::Exception::IdError);
  auto routine = std::make_shared<Routine>();
  table.allocate(routine, 1199);
  EXPECT_EQ(routine->getRoutineId(), 1199u);
  EXPECT_EQ(routine->getRoutineTable(), &table);
  EXPECT_THROW(table.allocate(std::make_shared<Routine>(), 1199),
               RoutineTable::Exception::AlreadyAllocated);
}

TEST_F(RoutineTableTest, MessageForEmptySlotGivesRoutingTextAndTheLoopGoesOn) {
  LogCapture cap;
  bool handled = false;
  auto routine = std::make_shared<ScriptedRoutine>();
  routine->onMessage = [&](ScriptedRoutine&, pxm_msg*&, size_t) { handled = true; };
  table.allocate(routine, 1);

  pxm.injectObs(peer, 42, 7, 3);
  pxm.injectObs(peer, 1200, 7, 3);
  pxm.injectObs(peer, 1, 7, 3);
  pxm.runUntilIdle(loop);

  const std::string text =
      "RoutineTable failed to route message from mbox=" + std::to_string(peer) +
      ": srcRoutineId=7, dstRoutineId=";
  EXPECT_TRUE(cap.has(Level::Info, "Caught exception " + text + "42, submsgno=3"));
  EXPECT_TRUE(cap.has(Level::Info, "Caught exception " + text + "1200, submsgno=3"));
  EXPECT_TRUE(handled);
  EXPECT_EQ(pxm.leakedMessages(), 0u);
}

TEST_F(RoutineTableTest, MessageShorterThanHeaderIsRefusedWithoutReadingPastIt) {
  pxm_msg* msg = pxm.alloc(6, FakePxm::kBaseSignalNo);
  EXPECT_THROW(table.dispatch(peer, msg, 6), RoutineTable::Exception::RoutingFailed);
  pxm.free(msg);
}

TEST_F(RoutineTableTest, RoutineSeesHeaderInHostOrderAndBodyAsSent) {
  auto routine = std::make_shared<ScriptedRoutine>();
  KvnObsSubMessageWithSubMsgNo seen{};
  std::vector<uint8_t> body;
  pxm_mbox_id_t from = 0;
  routine->onMessage = [&](ScriptedRoutine& self, pxm_msg*& msg, size_t size) {
    seen = *reinterpret_cast<KvnObsSubMessageWithSubMsgNo*>(msg);
    auto* raw = reinterpret_cast<uint8_t*>(msg);
    body.assign(raw + 12, raw + size);
    from = self.sender(msg);
  };
  table.allocate(routine, 300);
  pxm.injectObs(peer, 300, 0x1234, 0x0506, {0x00, 0x01, 0xAB});
  pxm.runUntilIdle(loop);
  EXPECT_EQ(seen.msgno, FakePxm::kBaseSignalNo);
  EXPECT_EQ(seen.dstRoutineId, 300);
  EXPECT_EQ(seen.srcRoutineId, 0x1234);
  EXPECT_EQ(seen.submsgno, 0x0506);
  EXPECT_EQ(body, (std::vector<uint8_t>{0x00, 0x01, 0xAB}));
  EXPECT_EQ(from, peer);
}

TEST_F(RoutineTableTest, RoutineThatReleasesItselfLivesUntilItsDispatchReturns) {
  bool destroyed = false;
  bool aliveAfterRelease = false;
  auto routine = std::make_shared<ScriptedRoutine>();
  routine->destroyed = &destroyed;
  routine->onMessage = [&](ScriptedRoutine& self, pxm_msg*&, size_t) {
    self.release();
    aliveAfterRelease = !destroyed;
  };
  const uint16_t id = table.allocate(routine);
  routine.reset();

  pxm.injectObs(peer, id, 1, 0);
  pxm.runUntilIdle(loop);
  EXPECT_TRUE(aliveAfterRelease);
  EXPECT_TRUE(destroyed);
  EXPECT_FALSE(table.get(id));
}

TEST_F(RoutineTableTest, ReleaseBeforeAThrowWaitsForTheNextGoodDispatch) {
  bool destroyed = false;
  auto thrower = std::make_shared<ScriptedRoutine>();
  thrower->destroyed = &destroyed;
  thrower->onMessage = [](ScriptedRoutine& self, pxm_msg*&, size_t) {
    self.release();
    throw std::runtime_error("x");
  };
  table.allocate(thrower, 10);
  table.allocate(std::make_shared<ScriptedRoutine>(), 11);
  thrower.reset();

  pxm.injectObs(peer, 10, 1, 0);
  pxm.runUntilIdle(loop);
  EXPECT_FALSE(destroyed);
  pxm.injectObs(peer, 11, 1, 0);
  pxm.runUntilIdle(loop);
  EXPECT_TRUE(destroyed);
}

TEST_F(RoutineTableTest, TakeHandsTheRoutineOverAndFreeOfAnEmptySlotDoesNothing) {
  auto routine = std::make_shared<Routine>();
  table.allocate(routine, 1199);
  EXPECT_EQ(table.take(1199), routine);
  EXPECT_FALSE(table.get(1199));
  EXPECT_FALSE(table.take(1199));
  table.free(1199);
  table.free(1200);
  // The fixed number never left the free list, so it is the first one handed out.
  EXPECT_EQ(table.allocate(std::make_shared<Routine>()), 1199);
  EXPECT_EQ(table.allocate(std::make_shared<Routine>()), 1198);
}

TEST_F(RoutineTableTest, SendEventReachesSubscribersIncludingOnesAddedLaterInTheWalk) {
  kvntrace::Event event;
  kvntrace::Event other;
  std::vector<uint32_t> order;
  auto late = std::make_shared<ScriptedRoutine>();
  late->subscribeEvent(event.getId());
  late->onHandle = [&](kvntrace::EventId) { order.push_back(late->getRoutineId()); };

  auto first = std::make_shared<ScriptedRoutine>();
  first->subscribeEvent(event.getId());
  first->onHandle = [&](kvntrace::EventId) {
    order.push_back(first->getRoutineId());
    if (!late->getRoutineTable()) table.allocate(late, 900);
  };
  auto deaf = std::make_shared<ScriptedRoutine>();
  deaf->subscribeEvent(other.getId());
  deaf->onHandle = [&](kvntrace::EventId) { order.push_back(deaf->getRoutineId()); };
  table.allocate(first, 5);
  table.allocate(deaf, 6);

  table.sendEvent(event.getId());
  EXPECT_EQ(order, (std::vector<uint32_t>{5, 900}));
}

TEST_F(RoutineTableTest, BaseRoutineRefusesMessagesAndUnhandledEvents) {
  LogCapture cap;
  auto routine = std::make_shared<Routine>();
  table.allocate(routine, 77);
  kvntrace::Event event;
  routine->subscribeEvent(event.getId());
  routine->subscribeEvent(event.getId());
  pxm.injectObs(peer, 77, 1, 0);
  pxm.runUntilIdle(loop);
  table.sendEvent(event.getId());
  routine->unsubscribeEvent(event.getId());
  table.sendEvent(event.getId());
  EXPECT_TRUE(cap.has(Level::Error, "Routine does 77 not handle pxm messages."));
  EXPECT_EQ(cap.count(Level::Error, "Unhandled event"), 1);
}

}  // namespace
}  // namespace kvn
