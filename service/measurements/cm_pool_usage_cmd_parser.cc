#include "service/measurements/cm_pool_usage_cmd_parser.h"

#include "service/agents/daxo_trace_model.h"
#include "service/agents/match_daxos.h"
#include "service/measurements/cm_pool_usage_cmd_session.h"
#include "util/argparse/argparse_parser.h"
#include "util/cmd/output_cmd_session.h"

namespace kvn {

namespace {

std::shared_ptr<CmdSession> refuse(const std::string& text) {
  return std::make_shared<OutputCmdSession>(text, 1);
}

}  // namespace

CmPoolUsageCmdParser::CmPoolUsageCmdParser()
    : CmdParser("cmpoolusage", "Measure the CM memory poll usage in words") {
  // The lines of the details run on into each other, each behind the command's name.
  const std::string cmd = "   " + getName();
  syntax.str("");
  syntax << cmd << " [--json] -s <daxo id> Print the current dynamic CM Pool usage in words\n"
         << cmd << "Details: The CM pool usage is the sum of allocated words in the " << cmd
         << "fixed size buffers and the number of allocated words in the bit " << cmd
         << "mapped heap. This include the semi statically allocated buffers " << cmd
         << "in the bit mapped heap. \n"
         << cmd << "Note that this sum also includes one 8 word header for each  " << cmd
         << "allocated bit mapped buffer.\n"
         << "      <daxo id>     like 1, DAXO1 or 256\n"
         << "      [-json]       output in json format.\n";
}

std::shared_ptr<CmdSession> CmPoolUsageCmdParser::parse(const std::vector<std::string>& args) {
  bool help = false;
  bool json = false;
  std::string snid;
  std::vector<std::string> words;
  try {
    argparse::Parser parser;
    parser.add("-h, --help") >> help;
    parser.add("-s, --snid") >> snid;
    parser.add("-j, --json") >> json;
    words = parser.parse(args);
  } catch (const argparse::ParseError& e) {
    return refuse(std::string(e.what()) + "\n" + usage());
  }
  if (help) return refuse(usage());
  if (!words.empty()) return refuse("Error - Too many parameters\n");
  // A missing -s is the empty expression, which names no agent.
  const uint16_t daxo = matchOneDaxo(snid);
  if (DaxoTraceModel::get(daxo).cmPool.id == kDaxoRoutineNotDeployed)
    return refuse("CmPoolUsage not deployed on daxo " + std::to_string(daxo) + "\n");
  return std::make_shared<CmPoolUsageCmdSession>(std::vector<uint16_t>{daxo}, json);
}

}  // namespace kvn
