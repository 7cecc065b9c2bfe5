#include "kvnsh/interrupt_counter.h"

#include <signal.h>
#include <string.h>

namespace kvnsh {
namespace {

volatile sig_atomic_t interrupts = 0;

void onInterrupt(int) { interrupts = interrupts + 1; }

}  // namespace

void InterruptCounter::install() {
  struct sigaction sa;
  memset(&sa, 0, sizeof sa);
  sa.sa_handler = onInterrupt;
  sigemptyset(&sa.sa_mask);
  sa.sa_flags = 0;
  sigaction(SIGINT, &sa, nullptr);
}

unsigned InterruptCounter::count() { return static_cast<unsigned>(interrupts); }

}  // namespace kvnsh
