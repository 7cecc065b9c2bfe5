#include "service/measurements/echo_cmd_parser.h"

#include <algorithm>
#include <iterator>

#include "service/agents/daxo_trace_model.h"
#include "service/agents/match_daxos.h"
#include "service/measurements/echo_cmd_session.h"
#include "util/argparse/argparse_parser.h"
#include "util/cmd/output_cmd_session.h"

namespace kvn {

EchoCmdParser::EchoCmdParser()
    : CmdParser("echo", "Inject a user defined string into LPP trace stream.") {
  info.str("");
  info << "   Inject your own trace string to the stream.\n";
  syntax.str("");
  syntax << "   " << getName() << " [-d <domainDaxoIndex>][-r <roleIndex>] 'trace string'\n";
}

std::shared_ptr<CmdSession> EchoCmdParser::parse(const std::vector<std::string>& args) {
  bool help = false;
  std::string domain = "*";
  std::string role = "*";
  std::vector<std::string> words;
  try {
    argparse::Parser parser;
    parser.add("-h, --help") >> help;
    parser.add("-d, --domainDaxoIndex") >> domain;
    parser.add("-r, --roleIndex") >> role;
    words = parser.parse(args);
  } catch (const argparse::ParseError& e) {
    return std::make_shared<OutputCmdSession>(e.what(), 1);
  }
  if (help) return std::make_shared<OutputCmdSession>(usage(), 0);
  if (words.size() != 1)
    return std::make_shared<OutputCmdSession>("Wrong number of arguments for echo", 1);
  if (words[0].size() > EchoCmdSession::kMaxTextBytes)
    throw CmdParserError("The echo text is " + std::to_string(words[0].size()) +
                         " bytes long; at most " + std::to_string(EchoCmdSession::kMaxTextBytes) +
                         " can be sent\n");

  // A bare number is a domain index of any instance.
  if (std::all_of(domain.begin(), domain.end(), [](char c) { return c >= '0' && c <= '9'; }))
    domain = "*/" + domain;
  const std::vector<uint16_t> byDomain = matchDaxos(domain, {MATCH_INSTANCE});
  const std::vector<uint16_t> byRole = matchDaxos(role, {MATCH_ROLE});
  std::vector<uint16_t> daxos;
  std::set_intersection(byDomain.begin(), byDomain.end(), byRole.begin(), byRole.end(),
                        std::back_inserter(daxos));

  std::string missing;
  for (uint16_t n : daxos)
    if (DaxoTraceModel::get(n).traceObjectManager.id >= kDaxoRoutineNotDeployed)
      missing += std::to_string(n) + " ";
  if (!missing.empty())
    throw CmdParserError("Object manager is not deployed for the following daxos: " + missing +
                         "\n");
  return std::make_shared<EchoCmdSession>(daxos, words[0]);
}

}  // namespace kvn
