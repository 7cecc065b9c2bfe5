#pragma once
// `zomlek dspload <command> -s <daxo id> [-d <duration>]`: start, stop, print or snapshot of
// the DSP load of one agent.

#include <memory>
#include <string>
#include <vector>

#include "util/cmd/cmd_parser.h"

namespace kvn {

class DspLoadCmdParser : public CmdParser {
 public:
  static constexpr uint32_t kMaxDurationS = 3600;

  DspLoadCmdParser();

  std::shared_ptr<CmdSession> parse(const std::vector<std::string>& args) override;
};

}  // namespace kvn
