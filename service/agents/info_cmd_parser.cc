#include "service/agents/info_cmd_parser.h"

#include "service/agents/info_cmd_session.h"
#include "util/argparse/argparse_parser.h"
#include "util/cmd/output_cmd_session.h"

namespace kvn {

InfoCmdParser::InfoCmdParser() : CmdParser("info", "Print info about connected daxos.") {
  info << "   Add verbose flag for information about deployment.\n";
  syntax.str("");
  syntax << "   " << getName() << " [--verbose]\n";
}

std::shared_ptr<CmdSession> InfoCmdParser::parse(const std::vector<std::string>& args) {
  bool help = false;
  bool verbose = false;
  argparse::Parser parser;
  parser.add("-h, --help") >> help;
  parser.add("-v, --verbose") >> verbose;
  try {
    parser.parse(args);  // positional words are ignored
  } catch (const argparse::ParseError& e) {
    return std::make_shared<OutputCmdSession>(std::string(e.what()) + "\n" + usage(), 1);
  }
  if (help) return std::make_shared<OutputCmdSession>(usage(), 0);
  return std::make_shared<InfoCmdSession>(verbose);
}

}  // namespace kvn
