#pragma once
// `zoth dest`: add, delete and list the operator's trace destinations.
//
//   dest add <name> <ip> <UDP port> <MO LDN> [-m <kB/s>]
//   dest del|delete <name>
//   dest list
//
// Every error of a line goes to one text, so that one line can report several; the usage
// follows, with result 1.

#include <memory>
#include <string>
#include <vector>

#include "util/cmd/cmd_parser.h"

namespace kvn {

class DestCmdParser : public CmdParser {
 public:
  DestCmdParser();

  std::shared_ptr<CmdSession> parse(const std::vector<std::string>& args) override;
};

}  // namespace kvn
