#include "service/datapath/route_tn_cmd_session.h"

#include <functional>
#include <utility>

#include "service/agents/forwarder_kind.h"
#include "service/datapath/trace_destination_store.h"
#include "service/trace_controller_context.h"

namespace kvn {

RouteTnCmdSession::RouteTnCmdSession(uint16_t daxo, uint32_t destSocket, std::string destName,
                                     uint32_t source)
    : RouteCmdSession(daxo, destSocket, std::move(destName), source, FORWARDER_TN) {}

void RouteTnCmdSession::abort(KvnTraceCtrlTaviAbortInd*& msg, size_t msgsize) {
  const auto& store = TraceControllerContext::get().destinations;
  if (store) store->stopSession(daxo, source);
  fail("");
}

void RouteTnCmdSession::attachConnection() {
  std::function<void(uint16_t)> onReady = [this](uint16_t socketId) {
    if (isOver()) return;
    destSocket = socketId;
    RouteCmdSession::attachConnection();
  };
  std::function<void(const std::string&)> onFail = [this](const std::string& text) {
    fail("Route action failed with TN setup error: " + text + "\n");
  };
  const auto& store = TraceControllerContext::get().destinations;
  if (!store) return onFail("Destination name not found");
  store->startSession(destName, daxo, source, getKillableCallback(std::move(onReady)),
                      getKillableCallback(std::move(onFail)));
}

}  // namespace kvn
