#pragma once
// `zoth route <daxo>:<source> <dest>[:<socket>]`: moves one trace source of an agent to a new
// destination, a fixed one of the agent or a named network destination, which hides the fixed
// word of the same name. Builds a RouteCmdSession, or a RouteTnCmdSession for a network
// destination.

#include <stdint.h>

#include <memory>
#include <string>
#include <vector>

#include "util/cmd/cmd_parser.h"

namespace kvn {

class RouteCmdParser : public CmdParser {
 public:
  RouteCmdParser();

  std::shared_ptr<CmdSession> parse(const std::vector<std::string>& args) override;

  // The forwarder kind of a word: 6 for any destination's name, else the fixed words;
  // kvn::argparse::ArgumentError "Invalid key" for anything else.
  static uint32_t forwarderKey(const std::string& word);
};

}  // namespace kvn
