#include "service/datapath/trace_destination_entry.h"

#include <utility>

#include "service/agents/daxo_connection_monitor.h"
#include "service/datapath/daxo_tn_session.h"

namespace kvn {

TraceDestinationEntry::TraceDestinationEntry(std::shared_ptr<TraceDestination> destination,
                                             MakeSession makeSession,
                                             DaxoConnectionMonitor* monitor)
    : destination(std::move(destination)), makeSession(std::move(makeSession)) {
  if (monitor)
    lostSubscription =
        monitor->subscribeDisconnected([this](uint16_t agent) { agents.erase(agent); });
}

void TraceDestinationEntry::startSession(uint16_t agent, uint32_t clientKey, OnReady onReady,
                                         OnFail onFail) {
  TraceDestinationUse& use = agents[agent];
  const bool first = use.clients.empty();
  use.clients.insert(clientKey);
  if (!first) {
    std::shared_ptr<DaxoTnSession> running = use.session.lock();
    onReady(running ? running->getSocketId() : 0);
    return;
  }
  auto holder = std::make_shared<std::weak_ptr<DaxoTnSession>>();
  OnFail wrappedFail = getKillableCallback(std::function<void(const std::string&)>(
      [this, agent, holder, onFail = std::move(onFail)](const std::string& text) {
        // Only this session's use: a later one of the same agent may have taken its place.
        auto it = agents.find(agent);
        if (it != agents.end() && it->second.session.lock() == holder->lock()) agents.erase(it);
        onFail(text);
      }));
  std::shared_ptr<DaxoTnSession> session =
      makeSession(agent, destination, std::move(onReady), std::move(wrappedFail));
  *holder = session;
  use.session = session;
  session->start();
}

void TraceDestinationEntry::stopSession(uint16_t agent, uint32_t clientKey) {
  auto it = agents.find(agent);
  if (it == agents.end()) return;
  it->second.clients.erase(clientKey);
  if (!it->second.clients.empty()) return;
  if (std::shared_ptr<DaxoTnSession> session = it->second.session.lock()) session->stop();
  agents.erase(agent);
}

}  // namespace kvn
