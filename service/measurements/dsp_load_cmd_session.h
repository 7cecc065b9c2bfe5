#pragma once
// What the sessions of `zomlek dspload` share: the agents of the command, the agents whose
// answer is still awaited, the text for the operator, and the agents' lost events, all
// subscribed at construction. A lost agent whose answer is awaited goes to `onLost`.

#include <stdint.h>

#include <map>
#include <set>
#include <sstream>
#include <vector>

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

  std::vector<uint16_t> daxos;
  std::set<uint16_t> pending;  // the agents whose answer is awaited
  std::ostringstream text;
  bool lost = false;

 private:
  std::map<kvntrace::EventId, uint16_t> lostEvents;
};

}  // namespace kvn
