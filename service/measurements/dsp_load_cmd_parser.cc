#include "service/measurements/dsp_load_cmd_parser.h"

#include "service/agents/daxo_trace_model.h"
#include "service/agents/match_daxos.h"
#include "service/measurements/dsp_load_print_cmd_session.h"
#include "service/measurements/dsp_load_start_cmd_session.h"
#include "service/measurements/dsp_load_stop_cmd_session.h"
#include "util/argparse/argparse_parser.h"
#include "util/cmd/output_cmd_session.h"

namespace kvn {

namespace {

// Every refusal of this command ends with 1, the help included.
std::shared_ptr<CmdSession> refuse(const std::string& text) {
  return std::make_shared<OutputCmdSession>(text, 1);
}

}  // namespace

DspLoadCmdParser::DspLoadCmdParser()
    : CmdParser("dspload", "Measure the capacity load on the dsps") {
  const std::string cmd = "   " + getName();
  syntax.str("");
  syntax << cmd << " start -s <daxo id> [-d <duration>]      Starts dsp load measurement for the "
         << "duration\n"
         << cmd << " stop -s <daxo id>                       Stops a started dsp load measurement\n"
         << cmd
         << " print -s <daxo id>                      Prints dsp load data captured during "
            "duration\n"
         << cmd << " snapshot -s <daxo id>                   Prints snapshot of dsp load\n"
         << "      <daxo id>     like 1, DAXO1 or 256\n"
         << "      <duration>    in seconds, like 10\n";
}

std::shared_ptr<CmdSession> DspLoadCmdParser::parse(const std::vector<std::string>& args) {
  bool help = false;
  std::string snid;
  uint32_t duration = kMaxDurationS;
  std::vector<std::string> words;
  try {
    argparse::Parser parser;
    parser.add("-h, --help") >> help;
    parser.add("-s, --snid") >> snid;
    parser.add("-d, --duration") >> duration;
    words = parser.parse(args);
  } catch (const argparse::ParseError& e) {
    return refuse(std::string(e.what()) + "\n" + usage());
  }
  if (help) return refuse(usage());
  // Checked for every command word, also those that take no duration.
  if (duration == 0 || duration > kMaxDurationS)
    return refuse("Duration (" + std::to_string(duration) + ") is out of range (1-" +
                  std::to_string(kMaxDurationS) + ")");
  if (words.size() != 1) return refuse("Error - Missing parameter\n");
  const uint16_t daxo = matchOneDaxo(snid);
  if (DaxoTraceModel::get(daxo).dspLoad.id == kDaxoRoutineNotDeployed)
    return refuse("Dspload not deployed on daxo " + std::to_string(daxo) + "\n");
  const std::string& command = words[0];
  if (command == "start")
    return std::make_shared<DspLoadStartCmdSession>(std::vector<uint16_t>{daxo},
                                                    duration * 1000000u);
  if (command == "stop")
    return std::make_shared<DspLoadStopCmdSession>(std::vector<uint16_t>{daxo});
  if (command == "print" || command == "snapshot")
    return std::make_shared<DspLoadPrintCmdSession>(std::vector<uint16_t>{daxo},
                                                    command == "snapshot");
  return refuse("Error - Illegal command " + command + "\n");
}

}  // namespace kvn
