#pragma once
// Tells the parts of the service that care which agent came or went: it listens to the connect
// event and to the lost events of the agents it has seen connect, works out the agent number,
// and calls the callbacks registered for it, in order of subscription.

#include <stdint.h>

#include <functional>
#include <map>
#include <memory>
#include <set>

#include "service/agents/daxo_subscription_handle.h"
#include "util/mainloop/routine.h"

namespace kvn {

class DaxoConnectionMonitor : public Routine {
 public:
  using Callback = std::function<void(uint16_t bbmHwNumber)>;

  explicit DaxoConnectionMonitor(kvntrace::EventId connectEvent);
  ~DaxoConnectionMonitor() override;

  std::unique_ptr<DaxoSubscriptionHandle> subscribeConnected(Callback callback);
  std::unique_ptr<DaxoSubscriptionHandle> subscribeDisconnected(Callback callback);
  void unsubscribe(uint32_t subscriberId);

  void handleEvent(kvntrace::EventId event) override;

  const std::set<uint16_t>& connectedDaxos() const { return connectedDaxos_; }

 private:
  static void callAll(const std::map<uint32_t, Callback>& subscribers, uint16_t bbmHwNumber);

  uint32_t nextSubscriberId_ = 0;
  kvntrace::EventId connectEvent_;
  std::set<uint16_t> connectedDaxos_;
  std::map<uint32_t, Callback> connectSubscribers_;
  std::map<uint32_t, Callback> lostSubscribers_;
  // What the handles call; they hold it weakly, so a handle may outlive the monitor.
  std::shared_ptr<std::function<void(uint32_t)>> subscriptionHandle_;
};

}  // namespace kvn
