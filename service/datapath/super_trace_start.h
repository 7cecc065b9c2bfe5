#pragma once
// Starts a recording or a stream on a list of agents together: refuses if any of them already
// runs or is being set up, sets up every agent's buffer, and once all have confirmed makes one run
// for the group, stores it in every agent's record and starts it.

#include <stdint.h>

#include <set>
#include <vector>

#include "service/datapath/super_trace_action.h"
#include "service/datapath/super_trace_run.h"

namespace kvn {

class SuperTrace;

class SuperTraceStart : public SuperTraceAction {
 public:
  SuperTraceStart(SuperTrace& controller, std::vector<uint16_t> agents, uint32_t mode, Done done)
      : SuperTraceAction(std::move(agents), std::move(done)),
        controller_(controller),
        mode_(mode) {}
  // Gone while set-ups are still out (the command was aborted): the agents that are still
  // connected may be set up again.
  ~SuperTraceStart() override;

  void start() override;
  void onAgentLost(uint16_t agent) override;

 private:
  void setUpConfirmed(uint16_t agent);
  void afterSetUp();

  SuperTrace& controller_;
  uint32_t mode_;
  std::set<uint16_t> awaiting_;
};

}  // namespace kvn
