#include "service/datapath/dest_cmd_parser.h"

#include <arpa/inet.h>
#include <ctype.h>
#include <string.h>

#include <sstream>
#include <stdexcept>

#include "service/datapath/dest_cmd_session.h"
#include "service/datapath/trace_destination.h"
#include "service/datapath/trace_destination_store.h"
#include "service/trace_controller_context.h"
#include "util/argparse/argparse_parser.h"
#include "util/cmd/cmd_parser_helpers.h"
#include "util/cmd/output_cmd_session.h"

namespace kvn {

namespace {

constexpr uint32_t kMinRate = 100;
constexpr size_t kMaxNameLength = 30;
const char* const kLdnPrefix = "ManagedElement=1";

bool destinationExists(const std::string& name) {
  const auto& store = TraceControllerContext::get().destinations;
  return store && store->exists(name);
}

// Three independent tests, a line each.
void checkName(const std::string& name, std::ostream& errors) {
  if (name.empty() || name.size() > kMaxNameLength)
    errors << "Name length must be between 0 and 30 chars\n";
  for (char c : name) {
    if (!isalnum(static_cast<unsigned char>(c))) {
      errors << "Name can only consist of alphanumeric chars\n";
      break;
    }
  }
  if (destinationExists(name)) errors << "Destination already exists!\n";
}

// An IPv6 literal may hold a dot; the colon decides.
void checkIp(const std::string& ip, KvnTsiProxyIpAddrS& addr, std::ostream& errors) {
  memset(&addr, 0, sizeof addr);
  if (ip.find(':') != std::string::npos) {
    addr.family = 6;
    if (inet_pton(AF_INET6, ip.c_str(), addr.addr) != 1)
      errors << "Invalid IPv6 address: " << ip << "\n";
  } else if (ip.find('.') != std::string::npos) {
    addr.family = 4;
    if (inet_pton(AF_INET, ip.c_str(), addr.addr) != 1)
      errors << "Invalid IPv4 address: " << ip << "\n";
  } else {
    errors << "Invalid IP address: " << ip << "\n";
  }
}

}  // namespace

DestCmdParser::DestCmdParser() : CmdParser("dest", "Handle user defined destinations.") {
  syntax.str("");
  syntax << "   " << getName()
         << " add <name> <destination ip> <UDP port number> <MO LDN> [-m <max stream rate in "
            "kilobytes/second>]   Creates a destination with the given name\n"
         << "            [<MAC address>] [<inner vlan>] [<outer vlan>]\n"
         << "   " << getName()
         << " del <name>                                               Removes the destination "
            "by the given name\n"
         << "   " << getName()
         << " list                                                     Lists all destinations\n";
}

std::shared_ptr<CmdSession> DestCmdParser::parse(const std::vector<std::string>& args) {
  std::ostringstream errors;
  std::shared_ptr<CmdSession> session;
  try {
    bool help = false;
    uint32_t maxRate = TraceDestination::kDefaultMaxKBytesPerSecond;
    argparse::Parser parser;
    parser.add("-h, --help") >> help;
    parser.add("-m") >> maxRate;
    const std::vector<std::string> words = parser.parse(args);
    if (help) return std::make_shared<OutputCmdSession>(usage(), 1);
    if (words.empty()) {
      errors << "Error - Wrong parameter count\n";
    } else {
      if (maxRate < kMinRate) errors << "Max stream rate must be at least 100 kB/s\n";
      if (maxRate > TraceDestination::kDefaultMaxKBytesPerSecond)
        errors << "Max stream rate must be less than 100 GB/s\n";
      const std::string& command = words[0];
      if (command == "add") {
        if (words.size() != 5) {
          errors << "dest add expects 4 arguments\n";
        } else {
          checkName(words[1], errors);
          KvnTsiProxyIpAddrS addr;
          checkIp(words[2], addr, errors);
          const auto port = static_cast<uint16_t>(parseNumberInRange(words[3], "port", 0, 65535));
          const std::string& ldn = words[4];
          if (ldn.rfind(kLdnPrefix, 0) != 0)
            errors << "LDN name is invalid. Must start with ManagedElement=1\n";
          else if (ldn.size() >= TraceDestination::kLdnFieldSize)
            errors << "LDN name is too long: at most " << TraceDestination::kLdnFieldSize - 1
                   << " characters\n";
          if (errors.str().empty())
            session = std::make_shared<DestCmdSession>(
                DestCmdSession::kAdd, words[1],
                std::make_shared<TraceDestination>(words[2], addr, port, ldn, maxRate));
        }
      } else if (command == "del" || command == "delete") {
        if (words.size() != 2) {
          errors << "Invalid usage of del\n";
        } else {
          // Deleting looks the name up and nothing more: what else was said is dropped.
          errors.str("");
          session = std::make_shared<DestCmdSession>(DestCmdSession::kDelete, words[1]);
        }
      } else if (command == "list") {
        if (words.size() != 1)
          errors << "List does not expect any additional arguments\n";
        else
          session = std::make_shared<DestCmdSession>(DestCmdSession::kList, "");
      } else {
        errors << "Error - Illegal command " << command << "\n";
      }
    }
  } catch (const argparse::ParseError& e) {
    errors << e.what() << "\n";
  } catch (const std::invalid_argument& e) {
    errors << e.what() << "\n";
  } catch (const std::out_of_range& e) {
    errors << e.what() << "\n";
  }
  if (errors.str().empty() && session) return session;
  return std::make_shared<OutputCmdSession>(errors.str() + usage(), 1);
}

}  // namespace kvn
