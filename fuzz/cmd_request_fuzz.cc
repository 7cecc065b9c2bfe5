// The command request of the shell protocol, as a front end sends it to routine 1, against the
// service's command tree with one agent connected. Every request is answered exactly once, by
// a refusal or by an accept and an end, and leaves nothing in the routine table once the front
// end has gone.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "fuzz/service_harness.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // A message shorter than its header stops the service by design.
  if (size < 12) return 0;
  std::vector<uint8_t> msg(data, data + size);
  msg[4] = 0;  // to routine 1, the session factory
  msg[5] = 1;
  const unsigned submsgno = msg[8] << 8 | msg[9];

  kvn::fuzz::ServiceHarness service;
  service.connectSampleAgent(1);
  const size_t slots = service.usedSlots();
  service.injectFrom(service.frontEnd(), msg.data(), msg.size());
  service.settle();
  const kvn::fuzz::ServiceHarness::Answer a = service.takeAnswer();
  if (submsgno != 3) {
    if (a.accepted || a.refused || a.ended || a.texts) __builtin_trap();  // not a request
  } else if (a.refused) {
    if (a.refused != 1 || a.accepted || a.ended || a.texts) __builtin_trap();
  } else if (a.accepted != 1 || a.ended != 1) {
    __builtin_trap();
  }
  service.kill(service.frontEnd());
  if (service.usedSlots() != slots) __builtin_trap();
  if (service.pxm().leakedMessages() != 0 || service.pxm().badFrees() != 0) __builtin_trap();
  return 0;
}
