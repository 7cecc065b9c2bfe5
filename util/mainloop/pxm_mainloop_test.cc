#include "util/mainloop/pxm_mainloop.h"

#include <gtest/gtest.h>

#include <chrono>
#include <vector>

#include "tracing/log_capture.h"
#include "util/mainloop/timer_queue.h"
#include "util/testing/fake_pxm.h"

namespace {

using kvn::log::Level;
using kvn::log::LogCapture;
using kvn::testing::FakePxm;
using std::chrono::milliseconds;

class PxmMainloopTest : public ::testing::Test {
 protected:
  TimerQueue::Clock::time_point now{std::chrono::hours(1000)};
  FakePxm pxm;
  TimerQueue timers{[this] { return now; }};
  PxmMainloop loop{&pxm, "svc", &timers};
  pxm_mbox_id_t peer = pxm.createPeer("peer");

  void TearDown() override { EXPECT_EQ(pxm.badFrees(), 0); }

  void inject(std::initializer_list<uint32_t> numbers) {
    for (uint32_t no : numbers) {
      pxm_msg* msg = pxm.alloc(20, no);
      pxm.inject(msg, peer);
    }
  }
  // The time-out of the first receive of one idle round.
  uint32_t firstWait() {
    pxm.runUntilIdle(loop);
    return pxm.receiveTimeouts().back();
  }
};

TEST_F(PxmMainloopTest, ExpiredTimersRunAndTheReceiveWaitsForTheNextButAtMostASecond) {
  EXPECT_EQ(firstWait(), 1000u);
  auto soon = timers.schedule(milliseconds(300), [] {});
  EXPECT_EQ(firstWait(), 300u);
  soon.reset();
  now += milliseconds(300);  // the dropped timer is popped at its time
  auto late = timers.schedule(milliseconds(5000), [] {});
  EXPECT_EQ(firstWait(), 1000u);
  EXPECT_EQ(timers.size(), 1u);
  // An expired timer runs before the receive.
  int fired = 0;
  auto due = timers.schedule(milliseconds(10), [&] { ++fired; });
  now += milliseconds(10);
  EXPECT_EQ(firstWait(), 1000u);
  EXPECT_EQ(fired, 1);
}

TEST_F(PxmMainloopTest, DispatcherByNumberElseDefaultElseErrorWithItsNewline) {
  LogCapture cap;
  std::vector<uint32_t> byNumber, byDefault;
  loop.setDispatcher(7, [&](pxm_mbox_id_t from, pxm_msg*& msg, size_t size) {
    EXPECT_EQ(from, peer);
    EXPECT_EQ(size, 20u);
    byNumber.push_back(msg->msgno);
  });
  loop.setDispatcher(7, [&](pxm_mbox_id_t, pxm_msg*&, size_t) { ADD_FAILURE() << "replaced"; });

  inject({7, 1234});
  pxm.runUntilIdle(loop);
  EXPECT_TRUE(cap.has(Level::Error, "*** No dispatcher for signal 1234\n"));

  loop.setDefaultDispatcher(
      [&](pxm_mbox_id_t, pxm_msg*& msg, size_t) { byDefault.push_back(msg->msgno); });
  inject({7, 1234});
  pxm.runUntilIdle(loop);
  EXPECT_EQ(byNumber, (std::vector<uint32_t>{7, 7}));
  EXPECT_EQ(byDefault, (std::vector<uint32_t>{1234}));
  EXPECT_EQ(pxm.leakedMessages(), 0u);
}

TEST_F(PxmMainloopTest, MonitoredMailboxDeathArrivesOnceAsTheLibrarysMessage) {
  std::vector<pxm_mbox_id_t> gone;
  loop.setDispatcher(PXM_MBOX_GONE,
                     [&](pxm_mbox_id_t from, pxm_msg*&, size_t) { gone.push_back(from); });
  const pxm_mbox_id_t other = pxm.createPeer("other");
  loop.monitorMailbox(peer);
  loop.monitorMailbox(peer);
  loop.monitorMailbox(other);
  loop.unmonitorMailbox(other);
  loop.unmonitorMailbox(other);
  EXPECT_EQ(pxm.monitorCount(), 1u);
  pxm.kill(peer);
  pxm.kill(other);
  pxm.runUntilIdle(loop);
  EXPECT_EQ(gone, (std::vector<pxm_mbox_id_t>{peer}));
}

TEST(PxmMainloopLifetime, OwnsItsMailbox) {
  FakePxm pxm;
  TimerQueue timers;
  {
    PxmMainloop loop(&pxm, "svc", &timers);
    EXPECT_EQ(loop.getMailbox(), pxm.own());
    EXPECT_EQ(pxm.locate("svc"), loop.getMailbox());
  }
  EXPECT_EQ(pxm.locate("svc"), PXM_NO_MBOX);
}

}  // namespace
