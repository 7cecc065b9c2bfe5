// diag-sim: plays the diag handler and the TSI proxy behind it, so that the service's
// destinations can be tried and tested without the platform. See `diag-sim --help`.

#include <getopt.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <fstream>
#include <memory>

#include <nlohmann/json.hpp>

#include "diag-sim/diag_simulator.h"
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

uint32_t number(const char* option, const char* text, uint32_t max) {
  char* end = nullptr;
  const unsigned long long v = strtoull(text, &end, 0);
  if (*text == '\0' || *text == '-' || *end != '\0' || v > max) {
    fprintf(stderr, "diag-sim: --%s takes a number up to %u\n", option, max);
    exit(2);
  }
  return static_cast<uint32_t>(v);
}

}  // namespace

int main(int argc, char** argv) {
  using kvn::diagsim::DiagSimulator;
  using kvn::diagsim::TsiAnswer;
  DiagSimulator::Options options;
  std::string journalPath;
  enum {
    kService = 1,
    kMailbox,
    kJournal,
    kNamespace,
    kAnswer,
    kSessionId,
    kPcep,
    kQidx,
    kMac,
    kInnerVlan,
    kOuterVlan,
    kReject,
    kDelay,
    kDrop,
    kSessionsDir,
    kHelp
  };
  static const struct option longOptions[] = {
      {"service", required_argument, nullptr, kService},
      {"mailbox", required_argument, nullptr, kMailbox},
      {"journal", required_argument, nullptr, kJournal},
      {"namespace", required_argument, nullptr, kNamespace},
      {"answer", required_argument, nullptr, kAnswer},
      {"session-id", required_argument, nullptr, kSessionId},
      {"pcep", required_argument, nullptr, kPcep},
      {"qidx", required_argument, nullptr, kQidx},
      {"mac", required_argument, nullptr, kMac},
      {"inner-vlan", required_argument, nullptr, kInnerVlan},
      {"outer-vlan", required_argument, nullptr, kOuterVlan},
      {"reject", required_argument, nullptr, kReject},
      {"reply-delay-ms", required_argument, nullptr, kDelay},
      {"drop-replies", no_argument, nullptr, kDrop},
      {"sessions-dir", required_argument, nullptr, kSessionsDir},
      {"help", no_argument, nullptr, kHelp},
      {nullptr, 0, nullptr, 0}};
  TsiAnswer& a = options.answer;
  try {
    for (int c; (c = getopt_long(argc, argv, "", longOptions, nullptr)) != -1;) {
      switch (c) {
        case kService:
          options.serviceName = optarg;
          break;
        case kMailbox:
          options.mailboxName = optarg;
          break;
        case kJournal:
          journalPath = optarg;
          break;
        case kNamespace:
          options.nameSpace = optarg;
          break;
        case kAnswer: {
          std::ifstream in(optarg);
          if (!in) throw TsiAnswer::Error(std::string("cannot open ") + optarg);
          a = TsiAnswer::fromJson(nlohmann::json::parse(in));
          break;
        }
        case kSessionId:
          a.sessionId = number("session-id", optarg, 0xFFFFFFFFu);
          break;
        case kPcep:
          a.pcep = number("pcep", optarg, 0xFFFFFFFFu);
          break;
        case kQidx:
          a.qidx = static_cast<uint16_t>(number("qidx", optarg, 0xFFFF));
          break;
        case kMac:
          a.mac = TsiAnswer::parseMac(optarg);
          break;
        case kInnerVlan:
          a.innerVlan = number("inner-vlan", optarg, 0xFFFFFFFFu);
          break;
        case kOuterVlan:
          a.outerVlan = number("outer-vlan", optarg, 0xFFFFFFFFu);
          break;
        case kReject:
          a.reject = optarg;
          break;
        case kDelay:
          options.replyMode = DiagSimulator::ReplyMode::kDelayed;
          options.replyDelay = std::chrono::milliseconds(number("reply-delay-ms", optarg, 3600000));
          break;
        case kDrop:
          options.replyMode = DiagSimulator::ReplyMode::kDropped;
          break;
        case kSessionsDir:
          options.sessionsDir = optarg;
          break;
        case kHelp:
          usage(stdout);
          return 0;
        default:
          usage(stderr);
          return 2;
      }
    }
    if (optind != argc) {
      usage(stderr);
      return 2;
    }
    std::unique_ptr<kvn::sim::Journal> journal =
        journalPath.empty() ? std::make_unique<kvn::sim::Journal>()
                            : std::make_unique<kvn::sim::Journal>(journalPath);
    struct sigaction sa;
    memset(&sa, 0, sizeof sa);
    sa.sa_handler = onStopSignal;
    sigaction(SIGTERM, &sa, nullptr);
    sigaction(SIGINT, &sa, nullptr);
    sa.sa_handler = onRejoinSignal;
    sigaction(SIGUSR1, &sa, nullptr);
    DiagSimulator simulator(options, *journal);
    return simulator.run(g_stop, g_rejoin);
  } catch (const std::exception& e) {
    fprintf(stderr, "diag-sim: %s\n", e.what());
    return 1;
  }
}
