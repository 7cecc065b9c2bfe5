#pragma once

#include <signal.h>

class PxmMainloop;
namespace kvn {
class RoutineTable;
}

// SIGUSR1 asks for "Routine table: N slots used" at INFO, so that an operator (or a soak run)
// can see from outside whether routines are left behind; the loop logs it once when it starts,
// too. The handler only sets a flag; the main loop logs between messages, within a second.
class UsageSignalHandler {
 public:
  static void install(PxmMainloop* loop, const kvn::RoutineTable* table);

 private:
  static void onSignal(int signo);
  static volatile sig_atomic_t s_asked;
};
