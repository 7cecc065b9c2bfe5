#include "service/agents/daxo_connection_monitor.h"

#include <utility>
#include <vector>

#include "service/agents/daxo_trace_model.h"
#include "tracing/log.h"

namespace kvn {

DaxoConnectionMonitor::DaxoConnectionMonitor(kvntrace::EventId connectEvent)
    : connectEvent_(connectEvent),
      subscriptionHandle_(std::make_shared<std::function<void(uint32_t)>>(
          [this](uint32_t id) { unsubscribe(id); })) {
  subscribeEvent(connectEvent_);
}

DaxoConnectionMonitor::~DaxoConnectionMonitor() = default;

std::unique_ptr<DaxoSubscriptionHandle> DaxoConnectionMonitor::subscribeConnected(
    Callback callback) {
  const uint32_t id = nextSubscriberId_++;
  connectSubscribers_[id] = std::move(callback);
  return std::make_unique<DaxoSubscriptionHandle>(subscriptionHandle_, id);
}

std::unique_ptr<DaxoSubscriptionHandle> DaxoConnectionMonitor::subscribeDisconnected(
    Callback callback) {
  const uint32_t id = nextSubscriberId_++;
  lostSubscribers_[id] = std::move(callback);
  return std::make_unique<DaxoSubscriptionHandle>(subscriptionHandle_, id);
}

void DaxoConnectionMonitor::unsubscribe(uint32_t subscriberId) {
  connectSubscribers_.erase(subscriberId);
  lostSubscribers_.erase(subscriberId);
}

void DaxoConnectionMonitor::handleEvent(kvntrace::EventId event) {
  if (event == connectEvent_) {
    for (uint16_t n = 1; n <= DaxoTraceModel::MAX_DAXO_NUMBER; ++n) {
      const DaxoRecord& r = DaxoTraceModel::get(n);
      if (connectedDaxos_.count(n) == 0 && r.connected) {
        connectedDaxos_.insert(n);
        subscribeEvent(r.lostEvent->getId());
        callAll(connectSubscribers_, n);
        return;
      }
    }
    TC_LOG_ERROR("Could not determine which daxo connected");
    return;
  }
  const uint16_t n = DaxoTraceModel::findByLostEvent(event);
  if (n == 0) {
    TC_LOG_ERROR("Could not determine which daxo disconnected");
    return;
  }
  // That connection is over; its event will not come again.
  unsubscribeEvent(event);
  connectedDaxos_.erase(n);
  callAll(lostSubscribers_, n);
}

void DaxoConnectionMonitor::callAll(const std::map<uint32_t, Callback>& subscribers,
                                    uint16_t bbmHwNumber) {
  // A callback may end its own or another subscription: walk the ids of now, and call those
  // that are still there when their turn comes.
  std::vector<uint32_t> ids;
  for (const auto& entry : subscribers) ids.push_back(entry.first);
  for (uint32_t id : ids) {
    auto it = subscribers.find(id);
    if (it == subscribers.end()) continue;
    Callback callback = it->second;
    callback(bbmHwNumber);
  }
}

}  // namespace kvn
