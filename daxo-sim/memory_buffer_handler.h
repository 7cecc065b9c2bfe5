#pragma once
// The agent's memory buffer routine (IMPLEMENTS 9): a set-up request empties the simulated
// buffer for a new recording or stream, and is confirmed at once.

#include <stdint.h>

#include "daxo-sim/agent_handler.h"
#include "daxo-sim/simulated_buffer.h"

namespace kvn::daxosim {

class MemoryBufferHandler : public AgentHandler {
 public:
  static constexpr uint16_t kImplementsCode = 9;

  explicit MemoryBufferHandler(SimulatedBuffer& buffer) : buffer_(buffer) {}

  void handle(const Request& request, const ReplyPath& reply, nlohmann::json& entry) override;

 private:
  SimulatedBuffer& buffer_;
};

}  // namespace kvn::daxosim
