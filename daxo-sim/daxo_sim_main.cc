// daxo-sim: plays one processor agent from a JSON description, so that the service can be tried
// and tested without hardware. See `daxo-sim --help`.

#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <chrono>

#include <memory>
#include <optional>
#include <stdexcept>

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
#include "sim/command_line.h"
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
  using kvn::daxosim::ForwarderHandler;
  std::optional<std::string> lmcPath;
  uint32_t confirmDelayMs = 0;
  bool dropConfirms = false;
  AgentSimulator::Options options;
  ForwarderHandler::Reject rejectRoute = ForwarderHandler::Reject::kNone;
  std::optional<kvn::daxosim::TraceDestHandler::Rejection> rejectDest;
  std::string sessionsDir;
  enum {
    kLmcPath = 1,
    kReconnect,
    kConfirmDelay,
    kDropConfirms,
    kRejectRoute,
    kRejectDest,
    kSessionsDir
  };
  static const poptOption own[] = {
      {"lmc-path", '\0', POPT_ARG_STRING, nullptr, kLmcPath, nullptr, nullptr},
      {"reconnect", '\0', POPT_ARG_NONE, nullptr, kReconnect, nullptr, nullptr},
      {"confirm-delay-ms", '\0', POPT_ARG_STRING, nullptr, kConfirmDelay, nullptr, nullptr},
      {"drop-confirms", '\0', POPT_ARG_NONE, nullptr, kDropConfirms, nullptr, nullptr},
      {"reject-route", '\0', POPT_ARG_STRING, nullptr, kRejectRoute, nullptr, nullptr},
      {"reject-dest", '\0', POPT_ARG_STRING, nullptr, kRejectDest, nullptr, nullptr},
      {"sessions-dir", '\0', POPT_ARG_STRING, nullptr, kSessionsDir, nullptr, nullptr},
      POPT_TABLEEND};
  kvn::sim::CommandLine line("daxo-sim", usage);
  const int status = line.read(argc, argv, own, [&](int val, const char* arg) {
    switch (val) {
      case kLmcPath:
        lmcPath = arg;
        break;
      case kReconnect:
        options.reconnect = true;
        break;
      case kConfirmDelay:
        confirmDelayMs = kvn::sim::CommandLine::number(arg, 3600000);
        break;
      case kDropConfirms:
        dropConfirms = true;
        break;
      case kRejectRoute:
        if (strcmp(arg, "attach") == 0)
          rejectRoute = ForwarderHandler::Reject::kAttach;
        else if (strcmp(arg, "detach") == 0)
          rejectRoute = ForwarderHandler::Reject::kDetach;
        else
          throw std::invalid_argument("takes attach or detach");
        break;
      case kRejectDest:
        rejectDest = kvn::daxosim::TraceDestHandler::parseRejection(arg);
        break;
      case kSessionsDir:
        sessionsDir = arg;
        break;
    }
  });
  if (status >= 0) return status;
  if (line.operands.size() != 1) {
    usage(stderr);
    return 2;
  }
  options.serviceName = line.service;
  options.mailboxName = line.mailbox;
  options.nameSpace = line.nameSpace;
  try {
    AgentDescription description = AgentDescription::fromFile(line.operands[0]);
    if (lmcPath) {
      if (lmcPath->size() > AgentDescription::kLmcPathSize)
        throw AgentDescription::Error("--lmc-path: longer than 256 characters");
      description.lmcPath = *lmcPath;
    }
    std::unique_ptr<kvn::sim::Journal> journal = line.openJournal();
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

    kvn::sim::CommandLine::catchSignals(onStopSignal);

    AgentSimulator simulator(description, options, *journal, handlers);
    return simulator.run(g_stop);
  } catch (const std::exception& e) {
    fprintf(stderr, "daxo-sim: %s\n", e.what());
    return 1;
  }
}
