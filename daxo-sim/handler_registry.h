#pragma once
// Which handler serves a message to one of the agent's routines: the routine's IMPLEMENTS code
// (from the description) selects the handler registered for that code; anything else goes to
// the fallback.

#include <stdint.h>

#include <map>
#include <memory>

#include "daxo-sim/agent_description.h"
#include "daxo-sim/agent_handler.h"

namespace kvn::daxosim {

class HandlerRegistry {
 public:
  static constexpr uint16_t kNoCode = 65535;

  explicit HandlerRegistry(std::unique_ptr<AgentHandler> fallback);

  // Registers the handler of a code, replacing an earlier one.
  void add(uint16_t implementsCode, std::unique_ptr<AgentHandler> handler);
  // Records that `routineId` implements `implementsCode`; a later call for the routine wins.
  void deploy(uint16_t routineId, uint16_t implementsCode);
  // Deploys every routine that the description's IMPLEMENTS attributes name.
  void deployAll(const AgentDescription& description);

  // The code deployed at a routine, or kNoCode.
  uint16_t codeOf(uint16_t routineId) const;
  // The handler for a routine: the one of its code, else the fallback.
  AgentHandler& handlerFor(uint16_t routineId) const;

 private:
  std::unique_ptr<AgentHandler> fallback_;
  std::map<uint16_t, std::unique_ptr<AgentHandler>> byCode_;
  std::map<uint16_t, uint16_t> codeByRoutine_;
};

}  // namespace kvn::daxosim
