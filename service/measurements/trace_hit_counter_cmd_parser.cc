#include "service/measurements/trace_hit_counter_cmd_parser.h"

#include "service/agents/daxo_trace_model.h"
#include "service/agents/match_daxos.h"
#include "service/measurements/trace_hit_counter_clear_cmd_session.h"
#include "service/measurements/trace_hit_counter_read_cmd_session.h"
#include "util/argparse/argparse_parser.h"
#include "util/cmd/output_cmd_session.h"

namespace kvn {

TraceHitCounterCmdParser::TraceHitCounterCmdParser()
    : CmdParser("tracehitcounter", "Manage trace hit counter.") {
  syntax.str("");
  syntax << " read <daxo id>      Prints trace hit counter table\n"
         << " clear <daxo id>     Clears trace hit counter table\n"
         << "      <daxo id>     like 1, DAXO1 or 256\n";
}

std::shared_ptr<CmdSession> TraceHitCounterCmdParser::parse(const std::vector<std::string>& args) {
  bool help = false;
  std::vector<std::string> words;
  try {
    argparse::Parser parser;
    parser.add("-h, --help") >> help;
    words = parser.parse(args);
  } catch (const argparse::ParseError& e) {
    return std::make_shared<OutputCmdSession>(e.what(), 1);
  }
  if (help) return std::make_shared<OutputCmdSession>(usage(), 1);
  if (words.size() != 2)
    return std::make_shared<OutputCmdSession>("Error - Wrong parameter count", 1);

  // The agents are resolved before the command word is looked at.
  std::vector<uint16_t> daxos;
  for (uint16_t n : matchDaxos(words[1], standardDaxoMatchers()))
    if (DaxoTraceModel::get(n).traceHitCounter.id < kDaxoRoutineNotDeployed) daxos.push_back(n);
  if (daxos.empty()) throw CmdParserError("Trace hit counter not deployed on any daxo");

  if (words[0] == "read") return std::make_shared<TraceHitCounterReadCmdSession>(daxos);
  if (words[0] == "clear") return std::make_shared<TraceHitCounterClearCmdSession>(daxos);
  return std::make_shared<OutputCmdSession>("Error - Illegal command " + words[0], 1);
}

}  // namespace kvn
