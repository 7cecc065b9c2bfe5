#pragma once
// `zoth tracehitcounter read|clear <daxo id>`: reads or clears the trace hit counter tables of
// the named agents that have one.

#include <memory>
#include <string>
#include <vector>

#include "util/cmd/cmd_parser.h"

namespace kvn {

class TraceHitCounterCmdParser : public CmdParser {
 public:
  TraceHitCounterCmdParser();

  std::shared_ptr<CmdSession> parse(const std::vector<std::string>& args) override;
};

}  // namespace kvn
