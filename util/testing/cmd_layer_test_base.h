#pragma once
// Test fixture of the command layer and the proxies: the in-process mailbox, a main loop that
// dispatches routine-addressed messages to a routine table, and one peer mailbox standing for
// the front end or an agent.

#include <gtest/gtest.h>

#include "util/mainloop/pxm_mainloop.h"
#include "util/mainloop/routine_table.h"
#include "util/mainloop/timer_queue.h"
#include "util/testing/fake_pxm.h"

namespace kvn::testing {

class CmdLayerTestBase : public ::testing::Test {
 protected:
  void SetUp() override {
    loop.setDispatcher(FakePxm::kBaseSignalNo,
                       [this](pxm_mbox_id_t s, pxm_msg*& m, size_t n) { table.dispatch(s, m, n); });
  }
  void TearDown() override { EXPECT_EQ(pxm.badFrees(), 0); }

  void run() { pxm.runUntilIdle(loop); }

  FakePxm pxm;
  TimerQueue timers;
  PxmMainloop loop{&pxm, "kvn-tracecontroller", &timers};
  RoutineTable table{&pxm, FakePxm::kBaseSignalNo};
  pxm_mbox_id_t peer = pxm.createPeer("peer");
};

}  // namespace kvn::testing
