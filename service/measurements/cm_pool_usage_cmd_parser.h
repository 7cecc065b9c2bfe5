#pragma once
// `zomlek cmpoolusage [--json] -s <daxo id>`: the CM pool usage of one agent.

#include <memory>
#include <string>
#include <vector>

#include "util/cmd/cmd_parser.h"

namespace kvn {

class CmPoolUsageCmdParser : public CmdParser {
 public:
  CmPoolUsageCmdParser();

  std::shared_ptr<CmdSession> parse(const std::vector<std::string>& args) override;
};

}  // namespace kvn
