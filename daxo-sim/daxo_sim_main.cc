// daxo-sim: plays one processor agent from a JSON description, so that the service can be tried
// and tested without hardware. See `daxo-sim --help`.

#include <getopt.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <chrono>

#include <memory>
#include <optional>

#include "daxo-sim/agent_description.h"
#include "daxo-sim/agent_simulator.h"
#include "daxo-sim/confirm_sender.h"
#include "daxo-sim/forwarder_handler.h"
#include "daxo-sim/handler_registry.h"
#include "daxo-sim/journal_only_handler.h"
#include "daxo-sim/measurements_handler.h"
#include "daxo-sim/memory_buffer_handler.h"
#include "daxo-sim/register_manager_handler.h"
#include "daxo-sim/simulated_buffer.h"
#include "daxo-sim/super_trace_handler.h"
#include "daxo-sim/trace_dest_handler.h"
#include "daxo-sim/trace_hit_counter_handler.h"
#include "daxo-sim/trace_mask_handler.h"
#include "daxo-sim/trace_record_writer.h"
#include "daxo-sim/utrace_config_handler.h"
#include "sim/journal.h"
#include "sim/udp_stream.h"

namespace {

volatile sig_atomic_t g_stop = 0;

void onStopSignal(int) { g_stop = 1; }

void usage(FILE* out) {
  fprintf(out,
          "usage: daxo-sim [options] DESCRIPTION.json\n"
          "Plays one agent: sends the connect message the description gives to the service's\n"
          "mailbox and serves its own mailbox until SIGTERM or SIGINT.\n"
          "  --service NAME     the service's mailbox (default kvn-tracecontroller)\n"
          "  --mailbox NAME     this agent's mailbox (default: from the description, else\n"
          "                     daxo-sim-<bbmHwNumber>)\n"
          "  --journal PATH     append one JSON line per received message to PATH\n"
          "                     (default: standard output)\n"
          "  --lmc-path PATH    the container path to announce, instead of the description's\n"
          "  --namespace NS     mailbox namespace\n"
          "  --reconnect        when the service goes, wait for it and connect again\n"
          "                     (without it the simulator ends when the service goes)\n"
          "  --confirm-delay-ms N  hold each trace mask and utrace confirm for N ms\n"
          "  --drop-confirms    never confirm a trace mask or utrace request\n"
          "  --reject-route attach|detach  the forwarders reject every such request\n"
          "  --reject-dest STEP:CAUSE  reject the destination step STEP (alloc, config,\n"
          "                     open, close or free) with CAUSE\n"
          "  --sessions-dir DIR  where diag-sim writes the address of each UDP session: while\n"
          "                     the buffer streams to one on 127.0.0.1, what the consumer\n"
          "                     drains is sent there as UDP datagrams\n"
          "  --help             this text\n");
}

}  // namespace

int main(int argc, char** argv) {
  using kvn::daxosim::AgentDescription;
  using kvn::daxosim::AgentSimulator;
  AgentSimulator::Options options;
  std::string journalPath;
  std::optional<std::string> lmcPath;
  long confirmDelayMs = 0;
  bool dropConfirms = false;
  using kvn::daxosim::ForwarderHandler;
  ForwarderHandler::Reject rejectRoute = ForwarderHandler::Reject::kNone;
  std::optional<kvn::daxosim::TraceDestHandler::Rejection> rejectDest;
  std::string sessionsDir;
  enum {
    kService = 1,
    kMailbox,
    kJournal,
    kLmcPath,
    kNamespace,
    kReconnect,
    kConfirmDelay,
    kDropConfirms,
    kRejectRoute,
    kRejectDest,
    kSessionsDir,
    kHelp
  };
  static const struct option longOptions[] = {
      {"service", required_argument, nullptr, kService},
      {"mailbox", required_argument, nullptr, kMailbox},
      {"journal", required_argument, nullptr, kJournal},
      {"lmc-path", required_argument, nullptr, kLmcPath},
      {"namespace", required_argument, nullptr, kNamespace},
      {"reconnect", no_argument, nullptr, kReconnect},
      {"confirm-delay-ms", required_argument, nullptr, kConfirmDelay},
      {"drop-confirms", no_argument, nullptr, kDropConfirms},
      {"reject-route", required_argument, nullptr, kRejectRoute},
      {"reject-dest", required_argument, nullptr, kRejectDest},
      {"sessions-dir", required_argument, nullptr, kSessionsDir},
      {"help", no_argument, nullptr, kHelp},
      {nullptr, 0, nullptr, 0}};
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
      case kLmcPath:
        lmcPath = optarg;
        break;
      case kNamespace:
        options.nameSpace = optarg;
        break;
      case kReconnect:
        options.reconnect = true;
        break;
      case kConfirmDelay: {
        char* end = nullptr;
        confirmDelayMs = strtol(optarg, &end, 10);
        if (*optarg == '\0' || *end != '\0' || confirmDelayMs < 0) {
          fprintf(stderr, "daxo-sim: --confirm-delay-ms takes a number of milliseconds\n");
          return 2;
        }
        break;
      }
      case kDropConfirms:
        dropConfirms = true;
        break;
      case kRejectRoute:
        if (strcmp(optarg, "attach") == 0) {
          rejectRoute = ForwarderHandler::Reject::kAttach;
        } else if (strcmp(optarg, "detach") == 0) {
          rejectRoute = ForwarderHandler::Reject::kDetach;
        } else {
          fprintf(stderr, "daxo-sim: --reject-route takes attach or detach\n");
          return 2;
        }
        break;
      case kRejectDest:
        try {
          rejectDest = kvn::daxosim::TraceDestHandler::parseRejection(optarg);
        } catch (const std::exception& e) {
          fprintf(stderr, "daxo-sim: --reject-dest: %s\n", e.what());
          return 2;
        }
        break;
      case kSessionsDir:
        sessionsDir = optarg;
        break;
      case kHelp:
        usage(stdout);
        return 0;
      default:
        usage(stderr);
        return 2;
    }
  }
  if (optind != argc - 1) {
    usage(stderr);
    return 2;
  }
  try {
    AgentDescription description = AgentDescription::fromFile(argv[optind]);
    if (lmcPath) {
      if (lmcPath->size() > AgentDescription::kLmcPathSize)
        throw AgentDescription::Error("--lmc-path: longer than 256 characters");
      description.lmcPath = *lmcPath;
    }
    std::unique_ptr<kvn::sim::Journal> journal =
        journalPath.empty() ? std::make_unique<kvn::sim::Journal>()
                            : std::make_unique<kvn::sim::Journal>(journalPath);
    kvn::daxosim::HandlerRegistry handlers(std::make_unique<kvn::daxosim::JournalOnlyHandler>());
    using kvn::daxosim::ConfirmSender;
    ConfirmSender confirms(*journal,
                           dropConfirms         ? ConfirmSender::Mode::kDropped
                           : confirmDelayMs > 0 ? ConfirmSender::Mode::kDelayed
                                                : ConfirmSender::Mode::kAtOnce,
                           std::chrono::milliseconds(confirmDelayMs));
    auto masks = std::make_unique<kvn::daxosim::TraceMaskHandler>(confirms);
    kvn::daxosim::TraceMaskHandler& maskTable = *masks;
    handlers.add(kvn::daxosim::TraceMaskHandler::kImplementsCode, std::move(masks));
    auto utrace = std::make_unique<kvn::daxosim::UtraceConfigHandler>(confirms);
    kvn::daxosim::TraceRecordWriter records(static_cast<uint8_t>(description.bbmHwNumber),
                                            maskTable.masks(), utrace->differs(),
                                            kvn::daxosim::TraceRecordWriter::utraceDefaults(
                                                description.lmcPath, description.loadModuleName));
    handlers.add(kvn::daxosim::UtraceConfigHandler::kImplementsCode, std::move(utrace));
    kvn::daxosim::SimulatedBuffer buffer(description.superTrace.bufferWords,
                                         description.superTrace.blockWords);
    auto superTrace =
        std::make_unique<kvn::daxosim::SuperTraceHandler>(buffer, description.superTrace, *journal);
    kvn::daxosim::SuperTraceHandler& superTraceRoutine = *superTrace;
    kvn::sim::UdpStream udp(sessionsDir, *journal);
    superTrace->setOnConsumed(
        [&udp](uint64_t words, const std::vector<uint8_t>& data) { udp.consumed(words, data); });
    if (!description.superTrace.counterWords) superTrace->setRecordWriter(&records);
    maskTable.setOnText([&superTraceRoutine](const std::string& text) {
      return superTraceRoutine.writeText(text);
    });
    handlers.add(kvn::daxosim::SuperTraceHandler::kImplementsCode, std::move(superTrace));
    handlers.add(kvn::daxosim::MemoryBufferHandler::kImplementsCode,
                 std::make_unique<kvn::daxosim::MemoryBufferHandler>(
                     buffer, description.superTrace.fixedIndex));
    auto forwarders = std::make_unique<ForwarderHandler>(description, rejectRoute);
    forwarders->setOnLinkChanged(
        [&udp](uint16_t source, uint16_t destination, uint16_t socket, bool attached) {
          udp.linkChanged(source, destination, socket, attached);
        });
    handlers.add(ForwarderHandler::kImplementsCode, std::move(forwarders));
    auto traceDest =
        std::make_unique<kvn::daxosim::TraceDestHandler>(description.traceDest, rejectDest);
    traceDest->setOnSocket([&udp](uint16_t socketId, std::optional<uint32_t> sessionId) {
      if (sessionId)
        udp.socketOpened(socketId, *sessionId);
      else
        udp.socketClosed(socketId);
    });
    handlers.add(kvn::daxosim::TraceDestHandler::kImplementsCode, std::move(traceDest));
    handlers.add(
        kvn::daxosim::TraceHitCounterHandler::kImplementsCode,
        std::make_unique<kvn::daxosim::TraceHitCounterHandler>(description.traceHitCounter));
    handlers.add(kvn::daxosim::RegisterManagerHandler::kImplementsCode,
                 std::make_unique<kvn::daxosim::RegisterManagerHandler>());
    auto measurements =
        std::make_unique<kvn::daxosim::MeasurementsHandler>(description.measurements, *journal);
    kvn::daxosim::MeasurementsHandler& measuring = *measurements;
    handlers.add(kvn::daxosim::MeasurementsHandler::kImplementsCode, std::move(measurements));
    handlers.deployAll(description);
    // The sooner of the waits of what runs on timers: held confirms, the buffer, measurements.
    options.tick = [&confirms, &superTraceRoutine, &measuring] {
      confirms.sendDue();
      measuring.sendDue();
      long next = confirms.msUntilNext();
      for (const long w : {superTraceRoutine.advance(), measuring.msUntilNext()})
        if (w >= 0 && (next < 0 || w < next)) next = w;
      return next;
    };

    struct sigaction sa;
    memset(&sa, 0, sizeof sa);
    sa.sa_handler = onStopSignal;
    sigaction(SIGTERM, &sa, nullptr);
    sigaction(SIGINT, &sa, nullptr);

    AgentSimulator simulator(description, options, *journal, handlers);
    return simulator.run(g_stop);
  } catch (const std::exception& e) {
    fprintf(stderr, "daxo-sim: %s\n", e.what());
    return 1;
  }
}
