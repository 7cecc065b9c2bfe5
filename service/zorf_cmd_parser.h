#pragma once
// The root `zorf`: of all its sub-commands only `log` exists in this service; everything else
// under it is refused as not implemented.

#include <memory>
#include <string>
#include <vector>

#include "util/cmd/cmd_parser.h"

namespace kvn {

class ZorfCmdParser : public CmdParser {
 public:
  using CmdParser::CmdParser;

  std::shared_ptr<CmdSession> parse(const std::vector<std::string>& args) override;
};

}  // namespace kvn
