#pragma once
// Sends the utrace point settings of one agent to its unique trace manager, a batch at a time.
// The points themselves stand in the agent's DaxoRecord.

#include <stdint.h>

#include <deque>
#include <functional>
#include <memory>
#include <vector>

#include "service/daxo_proxies.h"
#include "service/utrace_change.h"

namespace kvn {

class UTraceConfig {
 public:
  using Done = std::function<void()>;

  UTraceConfig(uint16_t bbmHwNumber, std::shared_ptr<UTraceProxy> proxy);
  virtual ~UTraceConfig();

  // Queues a batch; `done` runs once the agent has confirmed it.
  virtual void send(std::vector<UtraceChange> changes, Done done);
  // One change for every point of the agent, in list order.
  std::vector<UtraceChange> allChanges() const;

  uint16_t bbmHwNumber() const { return bbmHwNumber_; }
  size_t pendingBatches() const { return pending_.size(); }

 private:
  struct Batch {
    std::vector<UtraceChange> changes;
    Done done;
  };

  std::deque<Batch> pending_;
  bool busy_ = false;
  std::shared_ptr<UTraceProxy> proxy_;
  uint16_t bbmHwNumber_;
};

}  // namespace kvn
