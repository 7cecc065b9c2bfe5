#include "service/usage_signal_handler.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <memory>

#include "tracing/log_capture.h"
#include "util/mainloop/pxm_mainloop.h"
#include "util/mainloop/routine.h"
#include "util/mainloop/routine_table.h"
#include "util/mainloop/timer_queue.h"
#include "util/testing/fake_pxm.h"

namespace {

TEST(UsageSignalHandler, EachSignalLogsTheUsedSlotsOnceFromTheLoop) {
  kvn::log::LogCapture cap;
  kvn::testing::FakePxm pxm;
  kvn::RoutineTable table(&pxm, kvn::testing::FakePxm::kBaseSignalNo);
  TimerQueue timers;
  PxmMainloop loop(&pxm, "svc", &timers);
  UsageSignalHandler::install(&loop, &table);
  table.allocate(std::make_shared<kvn::Routine>());
  pxm.runUntilIdle(loop);
  EXPECT_EQ(cap.count(kvn::log::Level::Info, "Routine table: 1 slots used"), 1u) << "at start";
  table.allocate(std::make_shared<kvn::Routine>());

  raise(SIGUSR1);
  EXPECT_EQ(cap.count("Routine table: 2 slots used"), 0u) << "not from the handler";
  pxm.runUntilIdle(loop);
  pxm.runUntilIdle(loop);
  EXPECT_EQ(cap.count(kvn::log::Level::Info, "Routine table: 2 slots used"), 1u);
  signal(SIGUSR1, SIG_DFL);
}

}  // namespace
