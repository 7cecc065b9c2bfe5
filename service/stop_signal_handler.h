#pragma once

#include <signal.h>

class PxmMainloop;

// SIGABRT, SIGQUIT, SIGINT, SIGTERM and SIGHUP ask the main loop to stop; it does so between
// messages. Each handler is one-shot: the same signal again takes its default action, so a
// second Ctrl-C during a hung clean-up still ends the process.
class StopSignalHandler {
 public:
  static void install(PxmMainloop* loop);

 private:
  static void onSignal(int signo, siginfo_t* info, void* context);
  static PxmMainloop* s_loop;
};
