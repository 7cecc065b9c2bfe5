#pragma once
// `zomlek cmpoolusage`: one question to the agent's CM pool function and one answer, printed as
// text or JSON. The loss of the agent is told in words, also in JSON mode.

#include <stdint.h>

#include <vector>

#include "service/measurements/agent_fan_out_cmd_session.h"

namespace kvn {

class CmPoolUsageCmdSession : public AgentFanOutCmdSession {
 public:
  // Subscribes to the lost events of the agents.
  CmPoolUsageCmdSession(std::vector<uint16_t> daxos, bool json);

  void start() override;

 private:
  void onLost(uint16_t daxo) override;

  bool json;
};

}  // namespace kvn
