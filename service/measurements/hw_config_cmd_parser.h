#pragma once
// `zoth hwconfig [-s <daxo id>] set <register> <value>` and `... get <register>`: writes a
// trace mask register of the named agents' register managers, or tells what was last written
// by this service for the agents' current connections (the agents can't be asked).

#include <stdint.h>

#include <memory>
#include <string>
#include <vector>

#include "util/cmd/cmd_parser.h"

namespace kvn {

class HwConfigCmdParser : public CmdParser {
 public:
  HwConfigCmdParser();

  std::shared_ptr<CmdSession> parse(const std::vector<std::string>& args) override;

  // The register id of a register name; false for a name that has none.
  static bool registerId(const std::string& name, uint16_t& id);
};

}  // namespace kvn
