#include "service/usage_signal_handler.h"

#include "tracing/log.h"
#include "util/mainloop/pxm_mainloop.h"
#include "util/mainloop/routine_table.h"

// The first round of the loop logs it once: the figure with nothing running yet.
volatile sig_atomic_t UsageSignalHandler::s_asked = 1;

void UsageSignalHandler::onSignal(int) { s_asked = 1; }

void UsageSignalHandler::install(PxmMainloop* loop, const kvn::RoutineTable* table) {
  loop->setBetweenMessages([table] {
    if (s_asked == 0) return;
    s_asked = 0;
    TC_LOG_INFO("Routine table: %zu slots used", table->usedSlots());
  });
  struct sigaction action = {};
  action.sa_handler = &UsageSignalHandler::onSignal;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  sigaction(SIGUSR1, &action, nullptr);
}
