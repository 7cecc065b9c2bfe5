#include "service/zorf_cmd_parser.h"

namespace kvn {

std::shared_ptr<CmdSession> ZorfCmdParser::parse(const std::vector<std::string>& args) {
  if (!args.empty() && args[0] == "log") return CmdParser::parse(args);
  throw NotImplementedError("Only zorf log is partially implemented on TC2.0");
}

}  // namespace kvn
