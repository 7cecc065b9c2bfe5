// Both connect messages of an agent with their attribute lists (InitialConnect to routine 0,
// DaxoVersionConnect to routine 5, as the header says), through the model and trace
// control's part of the connect, then the agent listed and its trace state shown, then the
// agent gone. A container path is replaced by the sample's, so that no input opens a file of
// its choosing. Nothing the agent or the commands made may stay in the routine table.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz/service_harness.h"
#include "kvnsh/command_request.h"
#include "service/signals/daxo_connect_signals.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace kvn::daxo_connect;
  // A message shorter than its header stops the service by design.
  if (size < 12) return 0;
  std::vector<uint8_t> msg(data, data + size);
  const unsigned dst = msg[4] << 8 | msg[5];
  if (dst == kVersionRoutine && size > kVersionLmc && msg[kVersionLmc] != 0) {
    const std::string& lmc = kvn::fuzz::ServiceHarness::sampleLmc();
    const size_t field = std::min(size - kVersionLmc, kLmcPathSize);
    std::memset(&msg[kVersionLmc], 0, field);
    std::memcpy(&msg[kVersionLmc], lmc.data(), std::min(lmc.size(), field - 1));
  }

  kvn::fuzz::ServiceHarness service;
  const size_t slots = service.usedSlots();
  const pxm_mbox_id_t agent = service.newAgentMailbox("daxo");
  service.injectFrom(agent, msg.data(), msg.size());
  service.settle();
  for (const auto& line : {std::vector<std::string>{"zoth", "info"},
                           std::vector<std::string>{"zorf", "log", "status", "*"},
                           std::vector<std::string>{"zorf", "log", "status", "-p", "*"}}) {
    const std::vector<uint8_t> req =
        kvnsh::CommandRequest::encode(line, kvn::fuzz::ServiceHarness::kFrontEndRoutine);
    service.injectFrom(service.frontEnd(), req.data(), req.size());
    service.settle();
    const kvn::fuzz::ServiceHarness::Answer a = service.takeAnswer();
    if (a.ended + a.refused != 1) __builtin_trap();
  }
  service.kill(agent);
  service.kill(service.frontEnd());
  if (service.usedSlots() != slots) __builtin_trap();
  if (service.pxm().leakedMessages() != 0 || service.pxm().badFrees() != 0) __builtin_trap();
  return 0;
}
