#pragma once
// A destination in the store with the agents that use it. It listens for lost agents and
// forgets their use at once: the agent's own transport session ends on the same loss.

#include <stdint.h>

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "service/agents/daxo_subscription_handle.h"
#include "service/datapath/trace_destination_use.h"
#include "util/mainloop/callback_utils.h"

namespace kvn {

class DaxoConnectionMonitor;
class DaxoTnSession;
class TraceDestination;

// A session's failure that comes after the entry has gone is dropped.
class TraceDestinationEntry : public CallbackUtils {
 public:
  using OnReady = std::function<void(uint16_t socketId)>;
  using OnFail = std::function<void(const std::string&)>;
  // Builds and registers the transport session of an agent (not yet started).
  using MakeSession = std::function<std::shared_ptr<DaxoTnSession>(
      uint16_t agent, std::shared_ptr<TraceDestination>, OnReady, OnFail)>;

  // `monitor` may be null: then no loss is heard of.
  TraceDestinationEntry(std::shared_ptr<TraceDestination> destination, MakeSession makeSession,
                        DaxoConnectionMonitor* monitor);
  TraceDestinationEntry(const TraceDestinationEntry&) = delete;
  TraceDestinationEntry& operator=(const TraceDestinationEntry&) = delete;

  // The first client of an agent starts its session; later ones share it and are ready at once
  // with its socket id.
  void startSession(uint16_t agent, uint32_t clientKey, OnReady onReady, OnFail onFail);
  // The last client of an agent stops its session.
  void stopSession(uint16_t agent, uint32_t clientKey);

  bool inUse() const { return !agents.empty(); }
  const std::shared_ptr<TraceDestination>& getDestination() const { return destination; }
  const std::map<uint16_t, TraceDestinationUse>& getAgents() const { return agents; }

 private:
  std::shared_ptr<TraceDestination> destination;
  std::map<uint16_t, TraceDestinationUse> agents;
  std::unique_ptr<DaxoSubscriptionHandle> lostSubscription;
  MakeSession makeSession;
};

}  // namespace kvn
