#include "service/tracecontrol/profile_cmd_parser.h"

#include <fnmatch.h>

#include "service/agents/daxo_trace_model.h"
#include "service/agents/match_daxos.h"
#include "service/tracecontrol/profile_list_cmd_session.h"
#include "tracetables/profile_provider.h"
#include "util/argparse/argparse_parser.h"
#include "util/cmd/output_cmd_session.h"

namespace kvn {

ProfileCmdParser::ProfileCmdParser() : CmdParser("profile", "Manage trace profiles.") {
  info << "  "
       << "Available profiles can be listed with the list command without specifying a profile."
       << "\n";
  syntax.str("");
  syntax << "  " << getName()
         << " list [--verbose]                      Lists all available profiles\n"
         << "  " << getName()
         << " list [<glob expression>] [--verbose]  List profiles that match the expression\n"
         << "                                                "
         << "With the verbose flag, the content of the profiles is shown\n";
}

std::shared_ptr<CmdSession> ProfileCmdParser::parse(const std::vector<std::string>& args) {
  bool help = false;
  bool verbose = false;
  // The operator's mistakes in words; the help follows the message.
  const auto wrong = [this](const std::string& message) {
    return CmdParserErrorCode(message + "\n" + usage(), 1);
  };
  try {
    argparse::Parser parser;
    parser.add("-h, --help") >> help;
    parser.add("-v, --verbose") >> verbose;
    const std::vector<std::string> words = parser.parse(args);
    if (help) return std::make_shared<OutputCmdSession>(usage(), 0);
    if (words.empty()) throw wrong("No action specified");
    if (words[0] != "list") throw wrong("Unknown command " + words[0]);
    if (words.size() > 2) throw wrong("Too many arguments for list");
    const std::string expression = words.size() > 1 ? words[1] : "*";

    std::shared_ptr<kvntrace::ProfileProvider> provider;
    bool found = false;
    for (uint16_t n : matchDaxos("*", standardDaxoMatchers())) {
      const DaxoRecord& record = DaxoTraceModel::get(n);
      if (record.traceObjectManager.id < kDaxoRoutineNotDeployed) {
        // Only the first agent's container is listed.
        provider = record.profileProvider;
        found = true;
        break;
      }
    }
    if (!found) throw argparse::ParseError("No matching DAXO supports trace profiles");
    if (!provider) provider = std::make_shared<kvntrace::ProfileProvider>("");

    if (expression != "*") {
      bool any = false;
      for (const std::string& name : provider->getProfileNames())
        any = any || fnmatch(expression.c_str(), name.c_str(), 0) == 0;
      if (!any) throw wrong("Could not find profile with name " + expression);
    }
    return std::make_shared<ProfileListCmdSession>(expression, verbose, std::move(provider));
  } catch (const argparse::ParseError& e) {
    return std::make_shared<OutputCmdSession>(std::string(e.what()) + "\n" + usage(), 1);
  }
}

}  // namespace kvn
