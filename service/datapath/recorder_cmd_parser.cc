#include "service/datapath/recorder_cmd_parser.h"

#include <stdexcept>

#include "service/agents/daxo_trace_model.h"
#include "service/agents/match_daxos.h"
#include "service/datapath/recorder_dump_cmd_session.h"
#include "service/datapath/recorder_start_cmd_session.h"
#include "service/datapath/recorder_status_cmd_session.h"
#include "service/datapath/recorder_stop_cmd_session.h"
#include "service/datapath/recorder_time.h"
#include "util/argparse/argparse_parser.h"
#include "util/cmd/cmd_parser_helpers.h"
#include "util/cmd/output_cmd_session.h"

namespace kvn {

namespace {

constexpr int64_t kNotGiven = -1;

}  // namespace

const std::map<std::string, std::vector<uint16_t>>& RecorderCmdParser::sourceKeys() {
  static const std::map<std::string, std::vector<uint16_t>> keys = {
      {"token", {0}}, {"rtt", {1, 2, 3}}, {"lpp", {4}}, {"lpptrace", {4}}};
  return keys;
}

RecorderCmdParser::RecorderCmdParser()
    : CmdParser("recorder",
                "Manage collection of trace data, destination buffer is either in EM or over "
                "network.") {
  info << "   Possibility of different types of output format, binary (default) or base64.\n"
       << "   Current dump is best effort over PXM and TAVI. No shaping, use with caution.\n"
       << "   A subset of the recorded trace data can be dumped using the time and duration "
          "flags.\n";
  const std::string cmd = "   " + getName();
  syntax.str("");
  syntax << cmd << " start  <daxo id>    Start a recording.\n"
         << cmd << " stop   <daxo id>    Stop a recording.\n"
         << cmd << " status <daxo id>    Print statistics of recorded trace data\n"
         << cmd << " dump   <daxo id>:<source>"
         << " [--base64] [--time <intervalStart>] [--duration <duration>]"
         << " Dump recorded trace data to TAVI\n"
         << "      <daxo id>       like 1, DAXO1 or 256\n"
         << "      <source>        is {token|rtt|lpp}\n"
         << "      <intervalStart> like \"2016-11-15 13:14:46.123456\"\n"
         << "      <duration>      like {42us|3ms|1s}\n";
}

// Agent expressions that match nothing travel on to the session factory, which answers them.
std::shared_ptr<CmdSession> RecorderCmdParser::parse(const std::vector<std::string>& args) {
  std::string error;
  try {
    bool help = false, base64 = false;
    std::string time, duration;
    argparse::Parser parser;
    parser.add("-h, --help") >> help;
    parser.add("--base64") >> base64;
    parser.add("-t, --time") >> time;
    parser.add("-d, --duration") >> duration;
    const std::vector<std::string> words = parser.parse(args);
    if (help) return std::make_shared<OutputCmdSession>(usage(), 1);
    if (words.size() != 2) {
      error = "Invalid expression\n";
    } else if (words[0] == "dump") {
      const auto [expression, source] = splitArgument(words[1], ":");
      const uint16_t daxo = matchOneDaxo(expression);
      const auto key = sourceKeys().find(source);
      if (key == sourceKeys().end()) throw argparse::ArgumentError("Invalid source");
      const int64_t start = time.empty() ? kNotGiven : parseTimestamp(time);
      const int64_t length = duration.empty() ? kNotGiven : parseDuration(duration);
      return std::make_shared<RecorderDumpCmdSession>(daxo, base64, key->second, start, length);
    } else {
      const std::vector<uint16_t> daxos = matchDaxos(words[1], standardDaxoMatchers());
      for (uint16_t n : daxos)
        if (DaxoTraceModel::get(n).embuf.superTraceRoutine == kDaxoRoutineNotDeployed)
          return std::make_shared<OutputCmdSession>(
              "SuperTrace not deployed on all daxos\n" + usage(), 1);
      if (words[0] == "start") return std::make_shared<RecorderStartCmdSession>(daxos);
      if (words[0] == "stop") return std::make_shared<RecorderStopCmdSession>(daxos);
      if (words[0] == "status") return std::make_shared<RecorderStatusCmdSession>(daxos);
      error = "Expression " + words[0] + " is not valid\n";
    }
  } catch (const argparse::ParseError& e) {
    error = std::string(e.what()) + "\n";
  } catch (const std::invalid_argument& e) {
    error = std::string(e.what()) + "\n";
  } catch (const std::out_of_range& e) {
    error = std::string(e.what()) + "\n";
  }
  return std::make_shared<OutputCmdSession>(error + usage(), 1);
}

}  // namespace kvn
