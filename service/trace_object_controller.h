#pragma once
// Sends the trace object masks of one agent to its trace object manager, a batch at a time.
// Made at each connect of an agent that deploys the trace object function. The masks
// themselves stand in the agent's DaxoRecord.

#include <stdint.h>

#include <deque>
#include <functional>
#include <memory>
#include <vector>

#include "service/daxo_proxies.h"
#include "service/trace_object_mask.h"

namespace kvn {

class TraceObjectController {
 public:
  using Done = std::function<void()>;

  TraceObjectController(uint16_t bbmHwNumber, std::shared_ptr<TraceObjectProxy> proxy);
  virtual ~TraceObjectController();

  // The objects whose wanted mask differs from the one last sent.
  virtual std::vector<TraceObjectMask> getChanges();
  // One entry for every object of the agent, in list order.
  virtual std::vector<TraceObjectMask> getAll();
  // Queues a batch; `done` runs once the agent has confirmed it.
  virtual void setMasks(std::vector<TraceObjectMask> masks, Done done);
  // Lets the operator's forced bits win over the profiles.
  virtual void applyManualChanges();

  uint16_t bbmHwNumber() const { return bbmHwNumber_; }
  size_t pendingBatches() const { return pending_.size(); }

 private:
  struct Batch {
    std::vector<TraceObjectMask> masks;
    Done done;
  };

  std::deque<Batch> pending_;
  bool busy_ = false;
  std::shared_ptr<TraceObjectProxy> proxy_;
  uint16_t bbmHwNumber_;
};

}  // namespace kvn
