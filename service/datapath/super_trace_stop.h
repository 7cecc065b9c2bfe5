#pragma once
// Stops the run of a list of agents that were started together: refuses agents with nothing
// running or already stopping, and lists of agents from different starts; otherwise stops the run
// through the first agent's record, which stops the whole group, and ends once it has stopped.

#include <stdint.h>

#include <vector>

#include "service/datapath/super_trace_action.h"

namespace kvn {

class SuperTraceStop : public SuperTraceAction {
 public:
  SuperTraceStop(std::vector<uint16_t> agents, Done done)
      : SuperTraceAction(std::move(agents), std::move(done)) {}

  void start() override;
  void onAgentLost(uint16_t agent) override;

 private:
  void stopped();

  bool stopping_ = false;
};

}  // namespace kvn
