#pragma once
// `zoth profile list [<glob expression>] [--verbose]`: the profiles that an agent's container
// offers. Read-only: no agent is asked and nothing changes.

#include <memory>
#include <string>
#include <vector>

#include "util/cmd/cmd_parser.h"

namespace kvn {

class ProfileCmdParser : public CmdParser {
 public:
  ProfileCmdParser();

  std::shared_ptr<CmdSession> parse(const std::vector<std::string>& args) override;
};

}  // namespace kvn
