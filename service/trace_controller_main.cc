// kvn-tracecontroller: reads its options, builds the long-lived objects in a fixed order on
// this stack, and runs the main loop until a stop signal. Locals go in reverse order.
#include <stdexcept>
#include <string>

#include <systemd/sd-daemon.h>

#include "base/kvn_obs_sub_message_with_sub_msg_no.h"
#include "service/agents/agent_service_publisher.h"
#include "service/agents/daxo_connect_client.h"
#include "service/agents/daxo_connection_monitor.h"
#include "service/agents/daxo_trace_model.h"
#include "service/command_tree.h"
#include "service/datapath/diag_handler_client_routine.h"
#include "service/datapath/super_trace.h"
#include "service/datapath/trace_data_path_connect_hooks.h"
#include "service/datapath/trace_destination_store.h"
#include "service/measurements/dsp_load_controller.h"
#include "service/stop_signal_handler.h"
#include "service/trace_controller_context.h"
#include "service/trace_controller_options.h"
#include "service/tracecontrol/trace_control_connect_hooks.h"
#include "service/usage_signal_handler.h"
#include "service/zorf_cmd_parser.h"
#include "tracing/log.h"
#include "util/cmd/cmd_parser.h"
#include "util/cmd/cmd_session_factory.h"
#include "util/mailbox/hkm_pxm.h"
#include "util/mainloop/event.h"
#include "util/mainloop/pxm_mainloop.h"
#include "util/mainloop/routine_proxy.h"
#include "util/mainloop/routine_table.h"
#include "util/mainloop/timer_queue.h"
#include "util/ns/lingering_ns_handler.h"
#include "util/ns/ns_handler.h"

namespace {
// Published by every instance, whatever its mailbox and instance names.
constexpr const char* kServiceName = "kvn-tracecontroller";
constexpr int32_t kMailboxCount = 2;
constexpr int32_t kAllocScheme = 0;
constexpr size_t kSchemeParamsSize = 36;
}  // namespace

int main(int argc, char** argv) {
  TraceControllerOptions options;
  std::string commandLine;
  for (int i = 0; i < argc; ++i) {
    commandLine += argv[i];
    commandLine += ' ';
  }
  TC_LOG_INFO("Starting service '%s'", commandLine.c_str());
  if (options.read(argc, const_cast<const char**>(argv)) != 0) return -1;

  kvnCpmUtilTraceProcField = "kvn_tracectrl";
  try {
    TC_LOG_DEBUG("Using pxm namespace %s", options.nameSpace.c_str());
    const unsigned char schemeParams[kSchemeParamsSize] = {};
    hkm::PXM pxm(kMailboxCount, kAllocScheme, schemeParams,
                 options.nameSpace.empty() ? nullptr : options.nameSpace.c_str(), 0);

    TimerQueue timers;
    PxmMainloop mainloop(&pxm, options.mailboxName, &timers);

    // Raised after every agent connect message.
    auto connectEvent = std::make_shared<kvntrace::Event>();
    // What trace control and the data path add to each agent's record while it connects.
    kvn::TraceControlConnectHooks traceControlHooks;
    kvn::TraceDataPathConnectHooks dataPathHooks;
    kvn::DaxoTraceModel::addConnectHooks(&traceControlHooks);
    kvn::DaxoTraceModel::addConnectHooks(&dataPathHooks);

    kvn::NsHandler nsHandler(mainloop.getMailbox(), &pxm);
    // The mailbox name is this instance's huntpath in the name server.
    kvn::LingeringNsHandler lingeringNames(
        [&nsHandler](const std::string& name) { nsHandler.publish(name); },
        [&nsHandler](const std::string& name) { nsHandler.unpublish(name); }, &nsHandler,
        options.mailboxName);

    kvn::RoutineTable routineTable(&pxm, kKvnObsSignalNo);

    auto agentServicePublisher = std::make_shared<AgentServicePublisher>(
        &lingeringNames, connectEvent, kServiceName, options.mailboxName);

    auto diagHandlerClient = std::make_shared<kvn::DiagHandlerClientRoutine>();
    routineTable.allocate(diagHandlerClient, kvn::DiagHandlerClientRoutine::kRoutineId);

    TraceControllerContext& context = TraceControllerContext::get();
    if (!options.instanceName.empty()) {
      agentServicePublisher->publishInstance(options.instanceName);
      context.instanceName = options.instanceName;
    } else {
      context.instanceName = kServiceName;
    }
    nsHandler.publish(kServiceName);

    auto cmdSessionFactory = std::make_shared<kvn::CmdSessionFactory>();

    // Takes its fixed routine number for the agents' indications.
    kvn::SuperTrace superTrace(connectEvent->getId(), &routineTable, 3);
    auto connectionMonitor = std::make_shared<kvn::DaxoConnectionMonitor>(connectEvent->getId());
    context.superTrace = &superTrace;
    context.connectionMonitor = connectionMonitor.get();
    context.routineTable = &routineTable;
    context.destinations =
        std::make_shared<kvn::TraceDestinationStore>(&routineTable, connectionMonitor.get());

    for (const auto& root : kvn::makeCommandTree()) cmdSessionFactory->addRootParser(root);

    mainloop.setDispatcher(kKvnObsSignalNo,
                           [&routineTable](pxm_mbox_id_t sender, pxm_msg*& msg, size_t size) {
                             routineTable.dispatch(sender, msg, size);
                           });

    auto connectClient = std::make_shared<kvn::DaxoConnectClient>(mainloop, connectEvent);
    routineTable.allocate(connectClient, kvn::DaxoConnectClient::kInitialConnectRoutine);
    routineTable.allocate(std::make_shared<kvn::RoutineProxy>(connectClient.get()),
                          kvn::DaxoConnectClient::kVersionConnectRoutine);
    routineTable.allocate(std::make_shared<kvn::DspLoadController>(),
                          kvn::DspLoadController::kRoutineId);
    routineTable.allocate(cmdSessionFactory, 1);
    routineTable.allocate(agentServicePublisher);
    routineTable.allocate(connectionMonitor);

    for (uint32_t signo : kvn::NsHandler::getSignals())
      mainloop.setDispatcher(signo, [&nsHandler](pxm_mbox_id_t sender, pxm_msg*& msg, size_t size) {
        nsHandler.handleMessage(sender, msg, size);
      });

    StopSignalHandler::install(&mainloop);
    UsageSignalHandler::install(&mainloop, &routineTable);
    // The mailbox exists and the service's name is published: what arrives from now on is
    // queued for the loop, so a supervisor may start what depends on the service.
    sd_notify(0, "READY=1");
    mainloop.run();
    sd_notify(0, "STOPPING=1");
  } catch (const std::runtime_error& e) {
    TC_LOG_ERROR("runtime_error exception: %s", e.what());
    return 1;
  }
  return 0;
}
