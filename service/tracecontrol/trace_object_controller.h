#pragma once
// Works out the trace object masks of one agent and sends them to its trace object manager,
// one batch at a time: a later batch goes out only once the agent has confirmed the one before,
// so a slow agent gets its changes in order and never two requests at once. Made at each
// connect of an agent that deploys the trace object function; the masks themselves stand in
// the agent's DaxoRecord, and are the truth for display even while a batch is in flight.

#include <stdint.h>

#include <functional>
#include <memory>
#include <vector>

#include "service/signals/signal_proxies.h"
#include "service/tracecontrol/one_batch_in_flight.h"
#include "service/tracecontrol/profile_mask_engine.h"
#include "service/tracecontrol/trace_object_mask.h"
#include "util/mainloop/callback_utils.h"

namespace kvn {

class TraceObjectControllerInterface {
 public:
  using Done = std::function<void()>;

  virtual ~TraceObjectControllerInterface() = default;
  virtual std::vector<TraceObjectMask> getChanges() = 0;
  virtual std::vector<TraceObjectMask> getAll() = 0;
  virtual void setMasks(std::vector<TraceObjectMask> masks, Done done) = 0;
  virtual void applyManualChanges() = 0;
};

class TraceObjectController : public TraceObjectControllerInterface, public CallbackUtils {
 public:
  TraceObjectController(uint16_t bbmHwNumber, std::shared_ptr<TraceObjectProxy> proxy);
  ~TraceObjectController() override;

  // Works every mask out again from the enabled profiles and the operator's forced bits, and
  // gives the objects whose mask differs from what the model held. The model holds the new
  // masks afterwards, sent or not.
  std::vector<TraceObjectMask> getChanges() override;
  // One entry for every object of the agent, in list order.
  std::vector<TraceObjectMask> getAll() override;
  // Queues a batch; `done` runs once the agent has confirmed it, and never if the agent goes.
  void setMasks(std::vector<TraceObjectMask> masks, Done done) override;
  // Lets the operator's forced bits win over the profiles.
  void applyManualChanges() override;

  // The profile bits of this agent's objects, kept between calls.
  ProfileMaskEngine& maskEngine() { return engine_; }

  uint16_t bbmHwNumber() const { return bbmHwNumber_; }
  // Batches not yet confirmed: those queued and the one in flight.
  size_t pendingBatches() const { return batches_.pendingBatches(); }
  bool busy() const { return batches_.busy(); }

 private:
  void sendBatch(const std::vector<TraceObjectMask>& masks, bool queued);

  std::shared_ptr<TraceObjectProxy> proxy_;
  uint16_t bbmHwNumber_;
  OneBatchInFlight<TraceObjectMask> batches_;
  ProfileMaskEngine engine_;
};

}  // namespace kvn
