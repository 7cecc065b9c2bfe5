#pragma once
// `zoth hwconfig set`: writes one register on every agent at once. An agent's remembered value
// changes only once it has confirmed.

#include <stdint.h>

#include <vector>

#include "service/measurements/agent_fan_out_cmd_session.h"

namespace kvn {

class HwConfigSetCmdSession : public AgentFanOutCmdSession {
 public:
  // Subscribes to the lost events of the agents, which must have connected.
  HwConfigSetCmdSession(std::vector<uint16_t> daxos, uint32_t value, uint16_t registerId);

  void start() override;

 private:
  void onLost(uint16_t daxo) override;

  uint32_t value;
  uint16_t registerId;
};

}  // namespace kvn
