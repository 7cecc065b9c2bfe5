#include "service/usage_signal_handler.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <memory>

#include "tracing/log_capture.h"
#include "util/mainloop/routine.h"
#include "util/testing/loop_with_table.h"

namespace {

TEST(UsageSignalHandler, EachSignalLogsTheUsedSlotsOnceFromTheLoop) {
  kvn::log::LogCapture cap;
  kvn::testing::LoopWithTable t;
  UsageSignalHandler::install(&t.loop, &t.table);
  t.table.allocate(std::make_shared<kvn::Routine>());
  t.pxm.runUntilIdle(t.loop);
  EXPECT_EQ(cap.count(kvn::log::Level::Info, "Routine table: 1 slots used"), 1u) << "at start";
  t.table.allocate(std::make_shared<kvn::Routine>());

  raise(SIGUSR1);
  EXPECT_EQ(cap.count("Routine table: 2 slots used"), 0u) << "not from the handler";
  t.pxm.runUntilIdle(t.loop);
  t.pxm.runUntilIdle(t.loop);
  EXPECT_EQ(cap.count(kvn::log::Level::Info, "Routine table: 2 slots used"), 1u);
  signal(SIGUSR1, SIG_DFL);
}

}  // namespace
