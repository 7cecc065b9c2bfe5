#pragma once
// `zorf log status` (plain form) and `zorf log save`: the enabled groups of every trace object
// of the selected agents, and their enabled utrace points. The save form also writes each
// agent's saved trace state, which the agent gets back at its next connect. Answers at once
// from the model; no agent is asked. The answer leaves in chunks as it is written: for five
// agents of many thousand objects it runs to megabytes.

#include <stdint.h>

#include <ostream>
#include <string>
#include <vector>

#include "util/cmd/cmd_session.h"

namespace kvn {

struct DaxoRecord;

class LogStatusCmdSession : public CmdSession {
 public:
  LogStatusCmdSession(std::vector<uint16_t> agents, bool save);

  void start() override;

  // The text of the answer, from the model as it is now; saves on the way in the save form.
  std::string render();
  void render(std::ostream& out);

 private:
  void renderAgent(std::ostream& out, const DaxoRecord& record);
  void saveAgent(std::ostream& out, const DaxoRecord& record);

  std::vector<uint16_t> agents;
  bool save;
};

}  // namespace kvn
