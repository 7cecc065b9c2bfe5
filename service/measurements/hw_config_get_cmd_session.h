#pragma once
// `zoth hwconfig get`: the register value last set by this service on each agent's current
// connection, from the model; the agents are asked nothing.

#include <stdint.h>

#include <vector>

#include "util/cmd/cmd_session.h"

namespace kvn {

class HwConfigGetCmdSession : public CmdSession {
 public:
  HwConfigGetCmdSession(std::vector<uint16_t> daxos, uint16_t registerId);

  void start() override;

 private:
  std::vector<uint16_t> daxos;
  uint16_t registerId;
};

}  // namespace kvn
