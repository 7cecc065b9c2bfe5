#pragma once
// `zoth info [--verbose]`: what the service knows of the connected agents.

#include <memory>
#include <string>
#include <vector>

#include "util/cmd/cmd_parser.h"

namespace kvn {

class InfoCmdParser : public CmdParser {
 public:
  InfoCmdParser();

  std::shared_ptr<CmdSession> parse(const std::vector<std::string>& args) override;
};

}  // namespace kvn
