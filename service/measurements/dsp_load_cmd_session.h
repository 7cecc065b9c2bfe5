#pragma once
// What the sessions of `zomlek dspload` share: the agents of the command, the agents whose
// answer is still awaited, the text for the operator, and the agents' lost events, all
// subscribed at construction. A lost agent whose answer is awaited goes to `onLost`.

#include <stdint.h>

#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <utility>
#include <vector>

#include "service/agents/daxo_trace_model.h"
#include "util/cmd/cmd_session.h"
#include "util/mainloop/event_id.h"

namespace kvn {

class DspLoadCmdSession : public CmdSession {
 public:
  void handleEvent(kvntrace::EventId event) override;

 protected:
  explicit DspLoadCmdSession(std::vector<uint16_t> daxos);

  // Writes the loss into `text`; `daxo` is no longer pending.
  virtual void onLost(uint16_t daxo) = 0;
  // Ends the command once nothing is pending: 1 when an agent was lost, else 0.
  virtual void check();
  // Prints `text` and ends with `result`.
  void finish(uint8_t result);
  // Turns the measurement of every agent of the command on or off with one `Req` each (`fill`
  // sets its fields), or of none when one of them is in that state already: each such agent
  // is named after `refusal`. Each agent is pending until its `Cfm`, named after `confirmed`.
  template <typename Req, typename Cfm, typename Fill>
  void switchMeasuring(bool on, const char* refusal, const char* confirmed, Fill fill);

  std::vector<uint16_t> daxos;
  std::set<uint16_t> pending;  // the agents whose answer is awaited
  std::ostringstream text;
  bool lost = false;

 private:
  std::map<kvntrace::EventId, uint16_t> lostEvents;
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
    std::function<void(Cfm*&, size_t)> onCfm = [this, n, confirmed](Cfm*&, size_t) {
      if (pending.erase(n) == 0) return;
      text << confirmed << n << "\n";
      check();
    };
    dspLoad.proxy->send(msg, getKillableCallback(std::move(onCfm)));
    dspLoad.measuring = on;
    pending.insert(n);
  }
}

}  // namespace kvn
