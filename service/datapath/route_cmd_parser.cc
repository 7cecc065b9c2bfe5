#include "service/datapath/route_cmd_parser.h"

#include <map>
#include <stdexcept>

#include "service/agents/daxo_trace_model.h"
#include "service/agents/match_daxos.h"
#include "service/datapath/route_cmd_session.h"
#include "service/datapath/route_tn_cmd_session.h"
#include "service/datapath/trace_destination_store.h"
#include "service/trace_controller_context.h"
#include "util/argparse/argparse_errors.h"
#include "util/cmd/cmd_parser_helpers.h"
#include "util/cmd/output_cmd_session.h"

namespace kvn {

RouteCmdParser::RouteCmdParser() : CmdParser("route", "Configure trace routes.") {
  info << "   Each trace source can be routed to a new destination.\n";
  syntax.str("");
  syntax << "   " << getName() << " <daxo>:<sourceId> <destId>:<destSocket>\n"
         << "      <daxo>        like 1 or DAXO1\n"
         << "      <source id>   {token|rtt|lpp}\n"
         << "      <dest id>     {ebcom|embuf}\n"
         << "      <destSocket>  like 0\n";
}

uint32_t RouteCmdParser::forwarderKey(const std::string& word) {
  static const std::map<std::string, uint32_t> kKeys = {
      {"token", FORWARDER_TOKEN},        {"rtt", FORWARDER_RTT},     {"lpp", FORWARDER_LPP_TRACE},
      {"lpptrace", FORWARDER_LPP_TRACE}, {"embuf", FORWARDER_EMBUF}, {"ebcom", FORWARDER_EBCOM},
      {"logserver", FORWARDER_LOGSERVER}};
  const auto& store = TraceControllerContext::get().destinations;
  if (store && store->exists(word)) return FORWARDER_TN;
  auto it = kKeys.find(word);
  if (it == kKeys.end()) throw argparse::ArgumentError("Invalid key");
  return it->second;
}

std::shared_ptr<CmdSession> RouteCmdParser::parse(const std::vector<std::string>& args) {
  if (args.size() == 1 && (args[0] == "-h" || args[0] == "--help"))
    return std::make_shared<OutputCmdSession>(usage(), 0);
  if (args.size() != 2)
    return std::make_shared<OutputCmdSession>("Wrong number of arguments\n" + usage(), 1);
  try {
    std::string target = args[1];
    if (target.find(':') == std::string::npos) target += ":0";
    const auto [daxoText, sourceText] = splitArgument(args[0], ":");
    const uint16_t daxo = matchOneDaxo(daxoText);
    const uint32_t source = forwarderKey(sourceText);
    const auto [destText, socketText] = splitArgument(target, ":");
    const uint32_t dest = forwarderKey(destText);
    const uint32_t socket = parseUnsigned(socketText);
    if (dest != FORWARDER_TN)
      return std::make_shared<RouteCmdSession>(daxo, socket, "", source, dest);
    if (!DaxoTraceModel::get(daxo).traceDest.proxy)
      return std::make_shared<OutputCmdSession>("Daxo does not support TN destinations", 1);
    return std::make_shared<RouteTnCmdSession>(daxo, socket, destText, source);
  } catch (const argparse::ArgumentError& e) {
    return std::make_shared<OutputCmdSession>(e.what(), 1);
  } catch (const std::logic_error&) {
    return std::make_shared<OutputCmdSession>("Invalid destination socket", 1);
  }
}

}  // namespace kvn
