#include "service/stop_signal_handler.h"

#include <gtest/gtest.h>
#include <signal.h>

#include "util/testing/loop_with_table.h"

namespace {

TEST(StopSignalHandler, SignalStopsTheLoopOnceThenTakesTheDefaultAction) {
  kvn::testing::LoopWithTable t;
  StopSignalHandler::install(&t.loop);

  int idleRounds = 0;
  t.pxm.setIdleHook([&] {
    if (++idleRounds == 2) raise(SIGHUP);
  });
  t.loop.run();
  EXPECT_EQ(idleRounds, 2);

  struct sigaction now = {};
  sigaction(SIGHUP, nullptr, &now);
  EXPECT_EQ(now.sa_handler, SIG_DFL);
  sigaction(SIGTERM, nullptr, &now);
  EXPECT_EQ(now.sa_flags & (SA_SIGINFO | SA_RESETHAND), SA_SIGINFO | SA_RESETHAND);
  for (int signo : {SIGABRT, SIGQUIT, SIGINT, SIGTERM}) {
    EXPECT_TRUE(sigismember(&now.sa_mask, signo));
    signal(signo, SIG_DFL);
  }
}

}  // namespace
