#pragma once
// `zoth echo [-d <domainDaxoIndex>][-r <roleIndex>] 'trace string'`: a marker in the trace
// stream of the agents that both expressions name.

#include <memory>
#include <string>
#include <vector>

#include "util/cmd/cmd_parser.h"

namespace kvn {

class EchoCmdParser : public CmdParser {
 public:
  EchoCmdParser();

  std::shared_ptr<CmdSession> parse(const std::vector<std::string>& args) override;
};

}  // namespace kvn
