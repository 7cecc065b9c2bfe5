#include "service/stop_signal_handler.h"

#include <signal.h>

#include "util/mainloop/pxm_mainloop.h"

PxmMainloop* StopSignalHandler::s_loop = nullptr;

namespace {
constexpr int kStopSignals[] = {SIGABRT, SIGQUIT, SIGINT, SIGTERM, SIGHUP};
}

void StopSignalHandler::onSignal(int, siginfo_t*, void*) {
  if (s_loop != nullptr) s_loop->stopLoop();
}

void StopSignalHandler::install(PxmMainloop* loop) {
  s_loop = loop;
  struct sigaction action = {};
  action.sa_sigaction = &StopSignalHandler::onSignal;
  action.sa_flags = SA_SIGINFO | SA_RESETHAND;
  sigemptyset(&action.sa_mask);
  for (int signo : kStopSignals) sigaddset(&action.sa_mask, signo);
  for (int signo : kStopSignals) sigaction(signo, &action, nullptr);
}
