#pragma once
// `zoth tracehitcounter clear <daxo id>`: resets the hit counter table of every agent at once
// and answers when all have confirmed or were lost. Nothing is cleared while any of the agents
// is in use by another hit counter command.

#include <stddef.h>
#include <stdint.h>

#include <map>
#include <set>
#include <sstream>
#include <vector>

#include "util/cmd_session.h"

namespace kvn {

class TraceHitCounterClearCmdSession : public CmdSession {
 public:
  // Subscribes to the lost events of the agents, which must have connected.
  explicit TraceHitCounterClearCmdSession(std::vector<uint16_t> daxos);

  void start() override;
  void handleEvent(kvntrace::EventId event) override;
  void abort(KvnTraceCtrlTaviAbortInd*& msg, size_t msgsize) override;

 private:
  void onCleared(uint16_t agent);
  void endCheck();

  std::vector<uint16_t> daxos;
  uint32_t pending = 0;
  std::ostringstream text;
  bool lost = false;

  std::map<kvntrace::EventId, uint16_t> lostEvents;
  std::set<uint16_t> awaited;
  bool ended = false;
};

}  // namespace kvn
