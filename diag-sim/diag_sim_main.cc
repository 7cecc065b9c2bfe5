// diag-sim: plays the diag handler and the TSI proxy behind it, so that the service's
// destinations can be tried and tested without the platform. See `diag-sim --help`.

#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <fstream>
#include <memory>

#include <nlohmann/json.hpp>

#include "diag-sim/diag_simulator.h"
#include "sim/command_line.h"
#include "sim/journal.h"

namespace {

volatile sig_atomic_t g_stop = 0;
volatile sig_atomic_t g_rejoin = 0;

void onStopSignal(int) { g_stop = 1; }
void onRejoinSignal(int) { g_rejoin = 1; }

void usage(FILE* out) {
  fprintf(out,
          "usage: diag-sim [options]\n"
          "Plays the diag handler: says hello to routine 8 of the service and answers UDP\n"
          "session requests as its TSI proxy, until SIGTERM or SIGINT. SIGUSR1 makes it go\n"
          "away (its mailbox is deleted) and come back with a new hello.\n"
          "  --service NAME       the service's mailbox (default kvn-tracecontroller)\n"
          "  --mailbox NAME       this diag handler's mailbox (default diag-sim)\n"
          "  --journal PATH       append one JSON line per message to PATH (default: stdout)\n"
          "  --namespace NS       mailbox namespace\n"
          "  --answer FILE.json   the confirm's fields (sessionId, pcep, qidx, mac, innerVlan,\n"
          "                       outerVlan) or {\"reject\": reason}\n"
          "  --session-id N  --pcep N  --qidx N  --mac XX:XX:XX:XX:XX:XX\n"
          "  --inner-vlan N  --outer-vlan N      the confirm's fields one by one\n"
          "  --reject REASON      reject every request with REASON\n"
          "  --reply-delay-ms N   hold each answer for N ms\n"
          "  --drop-replies       never answer a request\n"
          "  --sessions-dir DIR   write each confirmed session's address and port to\n"
          "                       DIR/tsi-session-<sessionId>, for daxo-sim to stream to\n"
          "  --help               this text\n");
}

}  // namespace

int main(int argc, char** argv) {
  using kvn::diagsim::DiagSimulator;
  using kvn::diagsim::TsiAnswer;
  using kvn::sim::CommandLine;
  enum {
    kAnswer = 1,
    kSessionId,
    kPcep,
    kQidx,
    kMac,
    kInnerVlan,
    kOuterVlan,
    kReject,
    kDelay,
    kDrop,
    kSessionsDir
  };
  static const poptOption own[] = {
      {"answer", '\0', POPT_ARG_STRING, nullptr, kAnswer, nullptr, nullptr},
      {"session-id", '\0', POPT_ARG_STRING, nullptr, kSessionId, nullptr, nullptr},
      {"pcep", '\0', POPT_ARG_STRING, nullptr, kPcep, nullptr, nullptr},
      {"qidx", '\0', POPT_ARG_STRING, nullptr, kQidx, nullptr, nullptr},
      {"mac", '\0', POPT_ARG_STRING, nullptr, kMac, nullptr, nullptr},
      {"inner-vlan", '\0', POPT_ARG_STRING, nullptr, kInnerVlan, nullptr, nullptr},
      {"outer-vlan", '\0', POPT_ARG_STRING, nullptr, kOuterVlan, nullptr, nullptr},
      {"reject", '\0', POPT_ARG_STRING, nullptr, kReject, nullptr, nullptr},
      {"reply-delay-ms", '\0', POPT_ARG_STRING, nullptr, kDelay, nullptr, nullptr},
      {"drop-replies", '\0', POPT_ARG_NONE, nullptr, kDrop, nullptr, nullptr},
      {"sessions-dir", '\0', POPT_ARG_STRING, nullptr, kSessionsDir, nullptr, nullptr},
      POPT_TABLEEND};
  DiagSimulator::Options options;
  TsiAnswer& a = options.answer;
  CommandLine line("diag-sim", usage);
  const int status = line.read(argc, argv, own, [&](int val, const char* arg) {
    switch (val) {
      case kAnswer: {
        std::ifstream in(arg);
        if (!in) throw TsiAnswer::Error(std::string("cannot open ") + arg);
        a = TsiAnswer::fromJson(nlohmann::json::parse(in));
        break;
      }
      case kSessionId:
        a.sessionId = CommandLine::number(arg, 0xFFFFFFFFu);
        break;
      case kPcep:
        a.pcep = CommandLine::number(arg, 0xFFFFFFFFu);
        break;
      case kQidx:
        a.qidx = static_cast<uint16_t>(CommandLine::number(arg, 0xFFFF));
        break;
      case kMac:
        a.mac = TsiAnswer::parseMac(arg);
        break;
      case kInnerVlan:
        a.innerVlan = CommandLine::number(arg, 0xFFFFFFFFu);
        break;
      case kOuterVlan:
        a.outerVlan = CommandLine::number(arg, 0xFFFFFFFFu);
        break;
      case kReject:
        a.reject = arg;
        break;
      case kDelay:
        options.replyMode = DiagSimulator::ReplyMode::kDelayed;
        options.replyDelay = std::chrono::milliseconds(CommandLine::number(arg, 3600000));
        break;
      case kDrop:
        options.replyMode = DiagSimulator::ReplyMode::kDropped;
        break;
      case kSessionsDir:
        options.sessionsDir = arg;
        break;
    }
  });
  if (status >= 0) return status;
  if (!line.operands.empty()) {
    usage(stderr);
    return 2;
  }
  options.serviceName = line.service;
  if (!line.mailbox.empty()) options.mailboxName = line.mailbox;
  options.nameSpace = line.nameSpace;
  try {
    std::unique_ptr<kvn::sim::Journal> journal = line.openJournal();
    CommandLine::catchSignals(onStopSignal, onRejoinSignal);
    DiagSimulator simulator(options, *journal);
    return simulator.run(g_stop, g_rejoin);
  } catch (const std::exception& e) {
    fprintf(stderr, "diag-sim: %s\n", e.what());
    return 1;
  }
}
