#pragma once
// `zorf log status -p`: per selected agent its enabled profiles and what the operator switched
// by hand ("+" forced on, "-" forced off), objects and utrace points each sorted by name.
// Answers at once from the model.

#include <stdint.h>

#include <sstream>
#include <string>
#include <vector>

#include "util/cmd/cmd_session.h"

namespace kvn {

struct DaxoRecord;

class LogStatusProfileCmdSession : public CmdSession {
 public:
  explicit LogStatusProfileCmdSession(std::vector<uint16_t> agents);

  void start() override;

  // The text of the answer, from the model as it is now.
  std::string render();

 private:
  void renderAgent(const DaxoRecord& record);

  std::vector<uint16_t> agents;
  std::ostringstream out;
};

}  // namespace kvn
