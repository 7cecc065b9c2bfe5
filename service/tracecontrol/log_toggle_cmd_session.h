#pragma once
// `zorf log enable|disable <daxo id> <name> [suffixes...]`: switches the names on every selected
// agent and answers once every agent has replied or was lost. A disable first asks each agent
// whether its named profiles are enabled at all, and touches nothing if one is not.

#include <stdint.h>

#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "util/cmd/cmd_session.h"

namespace kvn {

class LogToggleCmdSession : public CmdSession {
 public:
  // Subscribes to the lost events of the agents, which must have connected.
  LogToggleCmdSession(std::vector<uint16_t> agents, std::vector<std::string> names, bool enable,
                      bool verbose);

  void start() override;
  void handleEvent(kvntrace::EventId event) override;

 private:
  void firstRound();
  void secondRound();
  void onDisableChecked(uint16_t agent, bool error, const std::string& text);
  void onNotApplicable(uint16_t agent, const std::string& heading, const std::string& text);
  // One agent has answered (or was lost); answers the command after the last.
  void closing(uint16_t agent);
  void answer();
  void finish(const std::string& text, uint8_t result);

  std::vector<uint16_t> agents;
  std::vector<std::string> names;
  bool enable;
  std::set<uint16_t> awaited;  // the agents whose reply is still to come
  std::ostringstream out;
  uint16_t notApplicableCount = 0;
  bool failure = false;
  bool firstRoundError = false;
  std::string verboseText;
  bool verbose;
  std::vector<std::string> notApplicableNames;
  std::string notApplicableText;

  bool inSecondRound = false;
  bool ended = false;
  std::map<kvntrace::EventId, uint16_t> lostEvents;
};

}  // namespace kvn
