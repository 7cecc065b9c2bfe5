#pragma once
// `zomlek cmpoolusage`: one question to the agent's CM pool function and one answer, printed as
// text or JSON. The loss of the agent is told in words, also in JSON mode.

#include <stdint.h>

#include <map>
#include <set>
#include <sstream>
#include <vector>

#include "service/signals/cm_pool_signals.h"
#include "util/cmd/cmd_session.h"
#include "util/mainloop/event_id.h"

namespace kvn {

class CmPoolUsageCmdSession : public CmdSession {
 public:
  // Subscribes to the lost events of the agents.
  CmPoolUsageCmdSession(std::vector<uint16_t> daxos, bool json);

  void start() override;
  void handleEvent(kvntrace::EventId event) override;

 private:
  void onConfirm(uint16_t daxo, const KvnCmPoolUsageCfmS* cfm, size_t msgsize);
  void check();

  std::vector<uint16_t> daxos;
  bool json;
  std::set<uint16_t> pending;  // the agents whose answer is awaited
  std::ostringstream text;
  uint8_t failed = 0;  // the command's result
  std::map<kvntrace::EventId, uint16_t> lostEvents;
};

}  // namespace kvn
