#pragma once
// `zoth info`: one row for each connected agent, and with --verbose what is deployed on it.
// Reads the model only, and ends in one step.

#include <string>

#include "util/cmd/cmd_session.h"

namespace kvn {

class InfoCmdSession : public CmdSession {
 public:
  explicit InfoCmdSession(bool verbose) : verbose(verbose) {}

  void start() override;

  // The text of the command, from the model as it is now.
  std::string render();

 private:
  void printAgent(std::string& out, uint16_t bbmHwNumber);

  bool verbose;
  bool anyRowPrinted = false;
  bool headerPrinted = false;
};

}  // namespace kvn
