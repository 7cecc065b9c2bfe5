#include "service/datapath/route_cmd_session.h"

#include <functional>
#include <utility>

#include "service/agents/daxo_trace_model.h"
#include "service/datapath/super_trace.h"
#include "service/datapath/super_trace_run.h"
#include "service/datapath/super_trace_start.h"
#include "service/datapath/super_trace_stop.h"
#include "service/datapath/trace_destination_store.h"
#include "service/trace_controller_context.h"
#include "tracing/log.h"

namespace kvn {

RouteCmdSession::RouteCmdSession(uint16_t daxo, uint32_t destSocket, std::string destName,
                                 uint32_t source, uint32_t dest)
    : daxo(daxo),
      destSocket(destSocket),
      destName(std::move(destName)),
      source(source),
      dest(dest),
      lostEvent(DaxoTraceModel::getDaxoLostEvent(daxo)) {
  subscribeEvent(lostEvent);
}

void RouteCmdSession::start() {
  const DaxoRecord& r = DaxoTraceModel::get(daxo);
  if (!r.connected || !r.modelValid) return fail("Daxo not connected\n");
  if (!r.links[source][dest].deployed) return fail("Daxo connection not deployed\n");
  // A stream may be re-routed while it runs; a recording may not.
  const auto& run = r.embuf.superTraceAction;
  if (!SuperTrace::isStreaming(r) && run && run->isActive())
    return fail("Can not route when Daxo is recording\n");
  for (uint32_t d = 0; d < kForwarderKindCount; ++d) {
    const ForwarderLink& link = r.links[source][d];
    if (link.deployed && link.attached) {
      previousDest = d;
      if (source == FORWARDER_EMBUF)
        stopStream();
      else
        detachConnectedDest(static_cast<int>(d));
      return;
    }
  }
  attachConnection();
}

void RouteCmdSession::stopStream() {
  std::function<void(bool, const std::string&)> done = [this](bool failed,
                                                              const std::string& text) {
    if (over) return;
    if (failed)
      fail(text + "Unable to shut down streaming. Route Aborted.\n");
    else
      detachConnectedDest(static_cast<int>(previousDest));
  };
  streamStop = std::make_shared<SuperTraceStop>(std::vector<uint16_t>{daxo},
                                                getKillableCallback(std::move(done)));
  streamStop->start();
}

void RouteCmdSession::detachConnectedDest(int d) {
  ForwarderLink& cell = DaxoTraceModel::get(daxo).links[source][d];
  const ForwarderLink link = cell;
  cell.attached = false;
  KVNTRACE_ASSERT(link.linkCount == 0 || link.connectionProxy_p);
  for (uint16_t i = 0; i < link.linkCount; ++i) {
    TraceLinkConnectionProxy& proxy = *link.connectionProxy_p;
    auto* req = proxy.make<KvnTraceLinkDetachReqS>();
    req->linkIndex = i;
    req->destSocket = static_cast<uint16_t>(destSocket);
    TC_LOG_INFO("Sending route detach signal %d -> %d", source, d);
    std::function<void(KvnTraceLinkDetachCfmS*&, size_t)> onCfm =
        [this](KvnTraceLinkDetachCfmS*&, size_t) { linkDetached(); };
    std::function<void(KvnTraceLinkDetachRejS*&, size_t)> onRej =
        [this](KvnTraceLinkDetachRejS*&, size_t) { fail("Route detach rejected\n"); };
    proxy.send(req, getKillableCallback(std::move(onCfm)), getKillableCallback(std::move(onRej)));
    ++pendingLinks;
  }
  // A cell without links has nothing to wait for.
  if (link.linkCount == 0) attachConnection();
}

void RouteCmdSession::linkDetached() {
  if (over) return;
  if (previousDest == FORWARDER_TN) {
    const auto& store = TraceControllerContext::get().destinations;
    if (store) store->stopSession(daxo, source);
  }
  if (--pendingLinks == 0) attachConnection();
}

void RouteCmdSession::attachConnection() {
  ForwarderLink& cell = DaxoTraceModel::get(daxo).links[source][dest];
  const ForwarderLink link = cell;
  cell.attached = true;
  KVNTRACE_ASSERT(link.linkCount == 0 || link.connectionProxy_p);
  for (uint16_t i = 0; i < link.linkCount; ++i) {
    TraceLinkConnectionProxy& proxy = *link.connectionProxy_p;
    auto* req = proxy.make<KvnTraceLinkAttachReqS>();
    req->linkIndex = i;
    req->destSocket = static_cast<uint16_t>(destSocket);
    TC_LOG_INFO("Sending route attach signal %d -> %d", source, dest);
    std::function<void(KvnTraceLinkAttachCfmS*&, size_t)> onCfm =
        [this](KvnTraceLinkAttachCfmS*&, size_t) { linkAttached(); };
    std::function<void(KvnTraceLinkAttachRejS*&, size_t)> onRej =
        [this](KvnTraceLinkAttachRejS*&, size_t) { fail("Route rejected\n"); };
    proxy.send(req, getKillableCallback(std::move(onCfm)), getKillableCallback(std::move(onRej)));
    ++pendingLinks;
  }
  if (link.linkCount == 0) routed();
}

void RouteCmdSession::linkAttached() {
  if (over) return;
  if (--pendingLinks == 0) routed();
}

void RouteCmdSession::routed() {
  if (source != FORWARDER_EMBUF) return succeed("");
  SuperTrace* controller = TraceControllerContext::get().superTrace;
  if (!controller) return fail("Route success, but streaming did not start\n");
  std::function<void(bool, const std::string&)> done = [this](bool failed,
                                                              const std::string& text) {
    if (over) return;
    if (failed)
      fail(text + "Route success, but streaming did not start\n");
    else
      succeed("Streaming started\n");  // the start's own text is not shown
  };
  streamStart =
      std::make_shared<SuperTraceStart>(*controller, std::vector<uint16_t>{daxo},
                                        kSuperTraceStreaming, getKillableCallback(std::move(done)));
  streamStart->start();
}

void RouteCmdSession::handleEvent(kvntrace::EventId event) {
  if (event != lostEvent || over) return;
  over = true;
  // The actions end their share (a set-up in flight is forgotten); what they answer is ignored.
  for (const auto& action : {streamStop, streamStart})
    if (action) action->onAgentLost(daxo);
  print("Route action failed due to loss of daxo " + std::to_string(daxo) + "\n");
  end(1);
}

void RouteCmdSession::fail(const std::string& text) {
  if (over) return;
  over = true;
  if (!text.empty()) print(text);
  end(1);
}

void RouteCmdSession::succeed(const std::string& text) {
  if (over) return;
  over = true;
  if (!text.empty()) print(text);
  end(0);
}

}  // namespace kvn
