#include "service/datapath/daxo_tn_session.h"

#include <utility>

#include "service/agents/daxo_trace_model.h"
#include "service/datapath/trace_dest_port_pool.h"
#include "service/datapath/trace_destination.h"
#include "service/trace_controller_context.h"
#include "tracing/log.h"

namespace kvn {

DaxoTnSession::DaxoTnSession(uint16_t daxoId, std::shared_ptr<TraceDestination> destination,
                             OnReady onReady, OnFail onFail)
    : daxoId(daxoId),
      destination(std::move(destination)),
      onReady(std::move(onReady)),
      onFail(std::move(onFail)),
      lostEvent(DaxoTraceModel::getDaxoLostEvent(daxoId)),
      pool(DaxoTraceModel::get(daxoId).traceDest.portPool),
      diagHandlerLostEvent(TraceControllerContext::get().diagHandlerLostEvent) {
  subscribeEvent(lostEvent);
}

void DaxoTnSession::start() {
  settingUp = true;
  if (!pool) {
    // No trace destination function on the agent: nothing to allocate from.
    onFail("Daxo port alloc failed");
    release();
    return;
  }
  pool->allocPort(killable(std::function<void(uint32_t)>([this](uint32_t h) { allocated(h); })),
                  killable(std::function<void()>([this] {
                    onFail("Daxo port alloc failed");
                    release();
                  })));
  TC_LOG_INFO("Sent signal KvnTraceDestAllocReqS to DAXO: %d", daxoId);
}

void DaxoTnSession::allocated(uint32_t handle) {
  portHandle = handle;
  TC_LOG_INFO("Allocated port %d on daxo %d", pool->getPort(handle)->getPortId(), daxoId);
  if (stopRequested) {
    freePortThenEnd();
    return;
  }
  clientRef = getRoutineId();
  waitingForTsi = true;
  subscribeEvent(diagHandlerLostEvent);
  destination->createTsiSession(pool->getPort(handle)->getAllocInfo(), clientRef,
                                killable(std::function<void(const TnParameters&)>(
                                    [this](const TnParameters& tn) { tsiConfirmed(tn); })),
                                killable(std::function<void(const std::string&)>(
                                    [this](const std::string& reason) { tsiRejected(reason); })));
}

void DaxoTnSession::tsiConfirmed(const TnParameters& tn) {
  waitingForTsi = false;
  unsubscribeEvent(diagHandlerLostEvent);
  TC_LOG_INFO("Received signal KvnTsiProxyCreateUdpSessionCfmS from TsiProxy");
  if (stopRequested) {
    deleteTsi();
    freePortThenEnd();
    return;
  }
  pool->configPort(
      portHandle, tn, destination->getMaxKBytesPerSecond(),
      killable(std::function<void()>([this, tn] { configured(tn); })),
      killable(std::function<void()>([this] { failed("Daxo port config failed", true); })));
}

void DaxoTnSession::tsiRejected(const std::string& reason) {
  // Called at most once: by the proxy's reject, by a refusal at once, or by the loss of the
  // diag handler, whose event also ends the proxy's waiting routine.
  if (!waitingForTsi) return;
  waitingForTsi = false;
  unsubscribeEvent(diagHandlerLostEvent);
  const std::string text = "Failed to create UDP session towards TSI proxy: " + reason;
  TC_LOG_ERROR("%s", text.c_str());
  failed(text, false);
}

void DaxoTnSession::configured(const TnParameters& tn) {
  TC_LOG_INFO("Configured port for daxo: %d [tnPcep=%08x, tnQidx=%04x, tnEbcomId=%08x]", daxoId,
              tn.pcep, tn.qidx, tn.sessionId);
  if (stopRequested) {
    deleteTsi();
    freePortThenEnd();
    return;
  }
  TraceDestSocket::OpenRecord record;
  record.type = 1;
  record.tnEbcomId = tn.sessionId;
  record.tnPcep = tn.pcep;
  record.tnQidx = tn.qidx;
  pool->openSocket(
      record, portHandle,
      killable(std::function<void(uint32_t)>([this](uint32_t h) { opened(h); })),
      killable(std::function<void()>([this] { failed("Daxo socket open failed", true); })));
}

void DaxoTnSession::opened(uint32_t handle) {
  TC_LOG_INFO("Got KvnTraceDestOpenCfmS from DAXO: %d", daxoId);
  socketHandle = handle;
  socketId = pool->getSocket(handle)->getSocketId();
  if (stopRequested) {
    tearingDown = true;
    deleteTsi();
    closeSocketThenFree();
    return;
  }
  settingUp = false;
  onReady(socketId);
}

void DaxoTnSession::failed(const std::string& text, bool deleteTsiFirst) {
  if (deleteTsiFirst) deleteTsi();
  freePortThenEnd();
  onFail(text);
}

void DaxoTnSession::stop() {
  if (settingUp) {
    stopRequested = true;
    return;
  }
  if (tearingDown) return;
  tearingDown = true;
  deleteTsi();
  closeSocketThenFree();
}

void DaxoTnSession::deleteTsi() {
  if (tsiDeleted) return;
  tsiDeleted = true;
  destination->deleteTsiSession(clientRef);
}

void DaxoTnSession::closeSocketThenFree() {
  // The teardown goes on whatever the agent answers.
  auto next = killable(std::function<void()>([this] { freePortThenEnd(); }));
  pool->closeSocket(socketHandle, next, next);
}

void DaxoTnSession::freePortThenEnd() {
  tearingDown = true;
  auto end = killable(std::function<void()>([this] { release(); }));
  pool->freePort(portHandle, end, end);
}

void DaxoTnSession::handleEvent(kvntrace::EventId event) {
  if (event == lostEvent) {
    TC_LOG_INFO("Received DAXO lost event. DAXO: %d", daxoId);
    // A session that has already deleted its UDP session does not take another's count.
    deleteTsi();
    release();
    return;
  }
  if (event == diagHandlerLostEvent && waitingForTsi) tsiRejected("DiagHandler is not connected.");
}

}  // namespace kvn
