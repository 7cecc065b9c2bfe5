#pragma once
// The agent's hardware register manager (IMPLEMENTS 10): keeps each register value it was set
// to and confirms. The journal line carries the register, the value and all registers set.

#include <stdint.h>

#include <map>

#include "daxo-sim/agent_handler.h"
#include "service/signals/daxo_connect_signals.h"

namespace kvn::daxosim {

class RegisterManagerHandler : public AgentHandler {
 public:
  static constexpr uint16_t kImplementsCode = kImplementsRttManager;

  void handle(const Request& request, const ReplyPath& reply, nlohmann::json& entry) override;

  const std::map<uint16_t, uint32_t>& registers() const { return registers_; }

 private:
  std::map<uint16_t, uint32_t> registers_;  // by register id
};

}  // namespace kvn::daxosim
