#pragma once
// `zoth recorder`: start, stop and status on a list of agents, and the dump of one agent's
// recorded sources.
//
//   recorder start|stop|status <daxo id>
//   recorder dump <daxo id>:<source> [--base64] [--time <intervalStart>] [--duration <duration>]
//
// Every error of the line is answered with its text and the usage, with result 1.

#include <stdint.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "util/cmd/cmd_parser.h"

namespace kvn {

class RecorderCmdParser : public CmdParser {
 public:
  // The block sources each source word of a dump names.
  static const std::map<std::string, std::vector<uint16_t>>& sourceKeys();

  RecorderCmdParser();

  std::shared_ptr<CmdSession> parse(const std::vector<std::string>& args) override;
};

}  // namespace kvn
