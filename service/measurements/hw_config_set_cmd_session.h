#pragma once
// `zoth hwconfig set`: writes one register on every agent at once. An agent's remembered value
// changes only once it has confirmed.

#include <stddef.h>
#include <stdint.h>

#include <map>
#include <set>
#include <sstream>
#include <vector>

#include "util/cmd/cmd_session.h"

namespace kvn {

class HwConfigSetCmdSession : public CmdSession {
 public:
  // Subscribes to the lost events of the agents, which must have connected.
  HwConfigSetCmdSession(std::vector<uint16_t> daxos, uint32_t value, uint16_t registerId);

  void start() override;
  void handleEvent(kvntrace::EventId event) override;

 private:
  void onSet(uint16_t agent);
  void endCheck();

  std::vector<uint16_t> daxos;
  uint32_t value;
  uint16_t registerId;
  uint32_t pending = 0;
  std::ostringstream text;
  bool lost = false;

  std::map<kvntrace::EventId, uint16_t> lostEvents;
  std::set<uint16_t> awaited;
};

}  // namespace kvn
