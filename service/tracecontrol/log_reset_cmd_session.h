#pragma once
// `zorf log reset [<daxo id> [<name> [groups...]]]`: hands trace object bits back to the
// profiles. A whole-agent reset forgets every manual change and leaves only "DefaultProfile"
// enabled; a named reset forgets the given groups of one object. Only trace object masks are
// sent: utrace overrides are cleared by a whole-agent reset, but no utrace setting goes out.

#include <stdint.h>

#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "util/cmd/cmd_session.h"

namespace kvn {

class LogResetCmdSession : public CmdSession {
 public:
  // An empty `name` resets the whole agent. Subscribes to the lost events of the agents.
  LogResetCmdSession(std::vector<uint16_t> agents, std::string name, uint32_t mask);

  void start() override;
  void handleEvent(kvntrace::EventId event) override;

 private:
  void resetAgent(uint16_t agent);
  void onDone(uint16_t agent);
  void check();

  std::vector<uint16_t> agents;
  std::string name;
  uint32_t mask;
  std::set<uint16_t> awaited;
  std::ostringstream out;
  bool failure = false;
  bool started = false;
  bool ended = false;
  std::map<kvntrace::EventId, uint16_t> lostEvents;
};

}  // namespace kvn
