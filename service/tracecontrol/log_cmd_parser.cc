#include "service/tracecontrol/log_cmd_parser.h"

#include <set>
#include <utility>

#include "service/agents/daxo_trace_model.h"
#include "service/agents/match_daxos.h"
#include "service/tracecontrol/trace_toggler.h"
#include "tracetables/trace_group_table.h"
#include "util/argparse/argparse_parser.h"
#include "util/cmd/output_cmd_session.h"

namespace kvn {

namespace {

const char* const kUsage =
    "  Handles toggling trace points, trace objects and profiles.\n"
    "  Allows the current state to be printed and saved.\n"
    "  log status [<daxo id>] [-p]                    Prints the enabled traces. With the -p "
    "flag,\n"
    "                                                 the activated profiles, and manually set "
    "traces \n"
    "                                                 are printed. Manually set traces refers to "
    "traces\n"
    "                                                 that are either enabled or disabled, but "
    "without the\n"
    "                                                 means of a profile.\n"
    "                                                 By default it prints for all active daxos, "
    "but by\n"
    "                                                 providing an daxo id, only info for that "
    "daxo "
    "is printed.\n"
    "  log save    <daxo id>                          Saves config of trace objects and trace "
    "points\n"
    "  log enable  <daxo id> <name>              [-v] Enables a trace object, trace point or "
    "profile\n"
    "  log enable  <daxo id> <prefix> <suffixes> [-v] Enables trace objects, trace points or "
    "profiles\n"
    "  log disable <daxo id> <name>              [-v] Disables a trace object, trace point or "
    "profile\n"
    "  log disable <daxo id> <prefix> <suffixes> [-v] Disables trace objects, trace points or "
    "profiles\n"
    "  log reset   <daxo id>[<name>]                  Resets the traces to the default setting\n"
    "  log reset   <daxo id>[<prefix> <suffixes>]     Resets the traces to the default setting\n"
    "\n Explanation:\n"
    "      <daxo id>     like DAXO1 or MOKA/1. Get it from the 'zorf la' command\n"
    "      <name>        like CommonTestObj1, utracePoint, or myProfile\n"
    "                    Activate uTracePoint.1 and uTracePoint.2 on all daxos(*) with these two "
    "commands\n"
    "                    'zorf log enable * uTracePoint.1'\n"
    "                    'zorf log enable * uTracePoint.2'\n"
    "      <prefix> and <suffixes>\n"
    "                    Activate uTracePoint.1 and uTracePoint.2 on all daxos (*) with the "
    "prefix\n"
    "                    'uTracePoint', and the suffixes '1' and '2'. The dot is automatically "
    "inserted.\n"
    "                    'zorf log enable * uTracePoint 1 2'.\n\n"
    "                    Activate myTraceObj.info and myTraceObj.error on all daxos (*) with the "
    "prefix\n"
    "                    'myTraceObj', and the suffixes 'info' and 'error'. The dot is "
    "automatically inserted.\n"
    "                    'zorf log enable * myTraceObj info error'.\n\n"
    "                    For trace objects, the valid groups are:\n"
    "      With the -v flag, warning messages about traces which could not be activated through a "
    "profile are printed.\n"
    "  ";

const std::set<std::string>& commandWords() {
  static const std::set<std::string> words = {"enable", "e",     "disable", "d",
                                              "status", "save",  "s",       "listduplicateobjects",
                                              "ldo",    "reset", "r"};
  return words;
}

// A word of the operator's that the usage follows; raised inside parse and turned into the
// answer there.
struct LogParseError : argparse::ParseError {
  using argparse::ParseError::ParseError;
};

bool allHaveService(const std::vector<uint16_t>& agents) {
  for (uint16_t n : agents)
    if (DaxoTraceModel::get(n).traceObjectManager.id == kDaxoRoutineNotDeployed) return false;
  return true;
}

}  // namespace

LogCmdParser::LogCmdParser(std::shared_ptr<LogSessionFactory> factory)
    : CmdParser("log", "Manages trace objects"), factory_(std::move(factory)) {
  usageText_ = kUsage;
  for (size_t i = 0; i < TraceGroupTable::count(); ++i)
    usageText_ += std::string(TraceGroupTable::name(i)) + " ";
  usageText_ += "\n";
}

std::shared_ptr<CmdSession> LogCmdParser::parse(const std::vector<std::string>& args) {
  // The first word is looked at before any option, so an option cannot stand first.
  if (args.empty() || commandWords().count(args[0]) == 0)
    throw NotImplementedError("zorf log is only partially implemented");
  bool help = false;
  bool profiles = false;
  bool verbose = false;
  try {
    argparse::Parser parser;
    parser.add("-h, --help") >> help;
    parser.add("-p, --profile") >> profiles;
    parser.add("-v, --verbose") >> verbose;
    const std::vector<std::string> words = parser.parse(args);
    if (help) return std::make_shared<OutputCmdSession>("error\n" + usageText_, 1);
    if (words.empty()) throw LogParseError("Error - Missing command for log");
    const std::string& command = words[0];
    if (command == "enable" || command == "e" || command == "disable" || command == "d")
      return parseToggle(words, verbose);
    if (command == "status") return parseStatus(words, profiles);
    if (command == "save" || command == "s") return parseSave(words);
    if (command == "listduplicateobjects" || command == "ldo") return parseListDuplicateObjects();
    if (command == "reset" || command == "r") return parseReset(words);
    throw NotImplementedError("Command not implemented: " + command);
  } catch (const argparse::ParseError& e) {
    return std::make_shared<OutputCmdSession>("error\n" + std::string(e.what()) + "\n" + usageText_,
                                              1);
  }
}

std::shared_ptr<CmdSession> LogCmdParser::parseToggle(const std::vector<std::string>& words,
                                                      bool verbose) {
  if (words.size() < 3) throw LogParseError("Error - Missing parameters");
  const std::vector<uint16_t> agents = matchDaxos(words[1], standardDaxoMatchers());
  const bool enable = words[0] == "enable" || words[0] == "e";
  std::vector<std::string> names;
  if (words.size() == 3) {
    names.push_back(words[2]);
  } else {
    for (size_t i = 3; i < words.size(); ++i) names.push_back(words[2] + "." + words[i]);
  }
  // Utrace points and profiles can be switched on an agent without the trace object function.
  bool withoutObjects = true;
  for (uint16_t n : agents) {
    const std::shared_ptr<TraceToggler> toggler = DaxoTraceModel::get(n).traceToggler;
    if (!toggler || !(toggler->allUtracePoints(names) || toggler->holdsProfile(names)))
      withoutObjects = false;
  }
  if (!withoutObjects && !allHaveService(agents))
    throw LogParseError("All daxos do not support log command in TC2.0");
  return factory_->createToggleSession(agents, names, enable, verbose);
}

std::shared_ptr<CmdSession> LogCmdParser::parseStatus(const std::vector<std::string>& words,
                                                      bool profiles) {
  if (words.size() > 2) throw LogParseError("Error - Too many arguments for status");
  std::vector<uint16_t> agents;
  try {
    agents = matchDaxos(words.size() > 1 ? words[1] : "*", standardDaxoMatchers());
  } catch (const DaxoMatchError&) {
    throw LogParseError("Error - No daxos found");
  }
  if (!allHaveService(agents)) throw LogParseError("All daxos do not support log command in TC2.0");
  return factory_->createStatusSession(agents, profiles);
}

std::shared_ptr<CmdSession> LogCmdParser::parseSave(const std::vector<std::string>& words) {
  if (words.size() > 2) throw LogParseError("Error - Too many arguments for save");
  const std::vector<uint16_t> agents =
      matchDaxos(words.size() > 1 ? words[1] : "*", standardDaxoMatchers());
  if (!allHaveService(agents)) throw LogParseError("All daxos do not support log command in TC2.0");
  return factory_->createSaveSession(agents);
}

std::shared_ptr<CmdSession> LogCmdParser::parseListDuplicateObjects() {
  std::vector<uint16_t> agents;
  try {
    agents = matchDaxos("*", standardDaxoMatchers());
  } catch (const DaxoMatchError&) {
    // No agent connected: nothing lacks the service.
  }
  if (!allHaveService(agents))
    throw LogParseError(
        "listduplicateobjects runs on TC2.0 only if at least one daxo supports new trace object "
        "manager");
  return std::make_shared<OutputCmdSession>(
      "ok\nlistduplicateobjects is deprecated. Please check baseband info traces for duplicate "
      "objects.",
      0);
}

std::shared_ptr<CmdSession> LogCmdParser::parseReset(const std::vector<std::string>& words) {
  const std::vector<uint16_t> agents =
      matchDaxos(words.size() > 1 ? words[1] : "*", standardDaxoMatchers());
  if (!allHaveService(agents))
    throw LogParseError("zorf log reset is not supported in this build.\n");
  if (words.size() < 3 || words[2].empty()) return factory_->createResetSession(agents);
  uint32_t mask = 0;
  for (size_t i = 3; i < words.size(); ++i) {
    if (words[i] == "all") {
      mask = TraceGroupTable::kAll;
      break;
    }
    const uint32_t bit = TraceGroupTable::bitOf(words[i]);
    if (bit == 0) throw LogParseError("Error - Invalid trace group " + words[i]);
    mask |= bit;
  }
  if (words.size() == 3) mask = TraceGroupTable::kAll;
  return factory_->createResetSession(agents, words[2], mask);
}

}  // namespace kvn
