#pragma once
// What the sessions of `zoth tracehitcounter` share: the agents of the command, whose lost
// events are subscribed at construction, the text for the operator, and the agents' `inUse`
// flags, held from a successful `claim` until the command ends.

#include <stddef.h>
#include <stdint.h>

#include <map>
#include <sstream>
#include <vector>

#include "util/cmd/cmd_session.h"
#include "util/mainloop/event_id.h"

namespace kvn {

class TraceHitCounterCmdSession : public CmdSession {
 public:
  void abort(KvnTraceCtrlTaviAbortInd*& msg, size_t msgsize) override;

 protected:
  // Subscribes to the lost events of the agents, which must have connected.
  explicit TraceHitCounterCmdSession(std::vector<uint16_t> daxos);

  // Takes the `inUse` flag of every agent. When any is in use already, takes none, says so for
  // each such agent, ends the command with 1 and answers false.
  bool claim();
  // The agent whose lost event `event` is, or nullptr; nullptr too once the command has ended.
  const uint16_t* lostAgent(kvntrace::EventId event) const;
  // Gives the flags back, prints `text` and ends with `result`.
  void finish(uint8_t result);

  std::vector<uint16_t> daxos;
  std::ostringstream text;
  bool ended = false;

 private:
  void setInUse(bool inUse);

  std::map<kvntrace::EventId, uint16_t> lostEvents;
};

}  // namespace kvn
