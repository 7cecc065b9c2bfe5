#pragma once
// What a routine does with a request no handler was written for: nothing but the journal line,
// and no answer. The service's waiting routine stays until the agent dies.

#include "daxo-sim/agent_handler.h"

namespace kvn::daxosim {

class JournalOnlyHandler : public AgentHandler {
 public:
  void handle(const Request& request, const ReplyPath& reply, nlohmann::json& entry) override;
};

}  // namespace kvn::daxosim
