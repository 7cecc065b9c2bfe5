#include "service/measurements/hw_config_cmd_parser.h"

#include <stdexcept>

#include "service/agents/daxo_trace_model.h"
#include "service/agents/match_daxos.h"
#include "service/measurements/hw_config_get_cmd_session.h"
#include "service/measurements/hw_config_set_cmd_session.h"
#include "util/argparse/argparse_parser.h"
#include "util/cmd/cmd_parser_helpers.h"
#include "util/cmd/output_cmd_session.h"

namespace kvn {

HwConfigCmdParser::HwConfigCmdParser() : CmdParser("hwconfig", "Configure hardware registers.") {
  const std::string& cmd = getName();
  syntax.str("");
  syntax << "   " << cmd
         << " set [ -s <daxo id> ] <register> <value>      Set register value on daxo\n"
         << "   " << cmd << " get [ -s <daxo id> ] <register>              "
         << "Get the register value that was previously set by the hwconfig set commmand\n"
         << "      <daxo id>     like DAXO1 or MOKA/1\n"
         << "      <register>        is {dqsmask|tqpmask|espmask|acpmask|rpsmask}\n"
         << "      <value>       like {0xffff0000|0x05|1} \n\n"
         << "\n"
         << "Example:\n"
         << "Turn off all LAT for all DAXOs\n"
         << "    zoth hwconfig set dqsmask 0x0\n"
         << "Turn on LAT for all logical daxos in MOKA YLM\n"
         << "    zoth hwconfig -s MOKA set dqsmask 0xffffffff\n"
         << "Turn on all trace for ESP tokens for physical daxo 2\n"
         << "    zoth hwconfig -s DAXO2 set espmask 0x01\n"
         << "Turn off LAT for physical daxo 2\n"
         << "    zoth hwconfig -s DAXO2 set dqsmask 0\n"
         << "Get dqs trace mask for all DAXOs\n"
         << "    zoth hwconfig get dqsmask\n"
         << "Get acp trace mask for logical daxo 1 in MOKA YLM\n"
         << "    zoth hwconfig -s MOKA/1 get acpmask\n\n";
}

bool HwConfigCmdParser::registerId(const std::string& name, uint16_t& id) {
  // Register 1 has no name: no command reaches it.
  static const struct {
    const char* name;
    uint16_t id;
  } kRegisters[] = {{"dqsmask", 0}, {"tqpmask", 2}, {"espmask", 3}, {"acpmask", 4}, {"rpsmask", 5}};
  for (const auto& r : kRegisters) {
    if (name == r.name) {
      id = r.id;
      return true;
    }
  }
  return false;
}

std::shared_ptr<CmdSession> HwConfigCmdParser::parse(const std::vector<std::string>& args) {
  bool help = false;
  std::string daxoExpression = "*";
  std::vector<std::string> words;
  try {
    argparse::Parser parser;
    parser.add("-h, --help") >> help;
    parser.add("-s, --daxo") >> daxoExpression;
    words = parser.parse(args);
  } catch (const argparse::ParseError& e) {
    return std::make_shared<OutputCmdSession>(e.what(), 1);
  }
  if (help) return std::make_shared<OutputCmdSession>(usage(), 1);
  if (words.size() < 2 || words.size() > 3)
    return std::make_shared<OutputCmdSession>("Error - Missing parameter", 1);

  std::vector<uint16_t> daxos;
  for (uint16_t n : matchDaxos(daxoExpression, standardDaxoMatchers()))
    if (DaxoTraceModel::get(n).rttManager.id < kDaxoRoutineNotDeployed) daxos.push_back(n);
  if (daxos.empty()) throw CmdParserError("HW config not deployed on any daxo");

  uint16_t id = 0;
  if (!registerId(words[1], id)) throw CmdParserError("Error - Illegal option " + words[1] + "\n");

  if (words[0] == "set") {
    const std::string valueText = words.size() > 2 ? words[2] : "";
    uint32_t value = 0;
    try {
      value = parseUnsigned(valueText);
    } catch (const std::invalid_argument&) {
      return std::make_shared<OutputCmdSession>("Invalid value argument '" + valueText + "'", 1);
    }
    return std::make_shared<HwConfigSetCmdSession>(daxos, value, id);
  }
  if (words[0] == "get") return std::make_shared<HwConfigGetCmdSession>(daxos, id);
  return std::make_shared<OutputCmdSession>("Error - Illegal command " + words[0], 1);
}

}  // namespace kvn
