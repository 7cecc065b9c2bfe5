#pragma once
// Sends the utrace point settings of one agent to its unique trace manager, one batch at a time
// as the trace object controller does. The points themselves stand in the agent's DaxoRecord;
// the agent knows each point's default, so it is told only whether a point differs from it.

#include <stddef.h>
#include <stdint.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "service/signals/signal_proxies.h"
#include "service/tracecontrol/one_batch_in_flight.h"
#include "service/tracecontrol/utrace_change.h"
#include "util/mainloop/callback_utils.h"

namespace kvn {

class UTraceConfig : public CallbackUtils {
 public:
  using Done = std::function<void()>;

  UTraceConfig(uint16_t bbmHwNumber, std::shared_ptr<UTraceProxy> proxy);
  ~UTraceConfig() override;

  // Switches the points at `positions` and sends those whose state changed; with none, `done`
  // runs at once.
  virtual void setPoints(const std::vector<size_t>& positions, bool enable, Done done);
  // Queues a batch; `done` runs once the agent has confirmed it, and never if the agent goes.
  virtual void send(std::vector<UtraceChange> changes, Done done);

  // The position of the point with exactly this name; raises std::runtime_error otherwise.
  size_t positionByName(const std::string& name) const;
  // One change for every point of the agent, in list order.
  std::vector<UtraceChange> allChanges() const;

  uint16_t bbmHwNumber() const { return bbmHwNumber_; }
  // Batches not yet confirmed: those queued and the one in flight.
  size_t pendingBatches() const { return batches_.pendingBatches(); }

 private:
  void sendBatch(const std::vector<UtraceChange>& changes);

  std::shared_ptr<UTraceProxy> proxy_;
  uint16_t bbmHwNumber_;
  OneBatchInFlight<UtraceChange> batches_;
};

}  // namespace kvn
