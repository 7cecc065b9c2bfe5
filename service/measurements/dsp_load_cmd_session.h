#pragma once
// What the sessions of `zomlek dspload` add to the fan-out: switching the measurement of every
// agent of the command on or off.

#include <stdint.h>

#include <vector>

#include "service/agents/daxo_trace_model.h"
#include "service/measurements/agent_fan_out_cmd_session.h"

namespace kvn {

class DspLoadCmdSession : public AgentFanOutCmdSession {
 protected:
  using AgentFanOutCmdSession::AgentFanOutCmdSession;

  // Turns the measurement of every agent of the command on or off with one `Req` each (`fill`
  // sets its fields), or of none when one of them is in that state already: each such agent
  // is named after `refusal`. Each agent is awaited until its `Cfm`, named after `confirmed`.
  template <typename Req, typename Cfm, typename Fill>
  void switchMeasuring(bool on, const char* refusal, const char* confirmed, Fill fill);
};

template <typename Req, typename Cfm, typename Fill>
void DspLoadCmdSession::switchMeasuring(bool on, const char* refusal, const char* confirmed,
                                        Fill fill) {
  bool refused = false;
  for (uint16_t n : daxos) {
    if (DaxoTraceModel::get(n).dspLoad.measuring == on) {
      text << refusal << n << "\n";
      refused = true;
    }
  }
  if (refused) {
    finish(1);
    return;
  }
  for (uint16_t n : daxos) {
    auto& dspLoad = DaxoTraceModel::get(n).dspLoad;
    Req* msg = dspLoad.proxy->template make<Req>();
    fill(*msg);
    ask<Cfm>(n, *dspLoad.proxy, msg,
             [this, n, confirmed](const Cfm&, size_t) { text << confirmed << n << "\n"; });
    dspLoad.measuring = on;
  }
}

}  // namespace kvn
