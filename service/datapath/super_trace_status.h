#pragma once
// Fetches the buffer index of every agent of a list: one request each, all at once. Ends with
// every index, or failed when an agent was lost or sent an index that does not fit its message;
// the indexes already fetched are then of no use.

#include <stdint.h>

#include <map>
#include <memory>
#include <set>
#include <vector>

#include "service/datapath/super_trace_action.h"
#include "service/datapath/super_trace_buffer_index.h"

namespace kvn {

class SuperTraceStatus : public SuperTraceAction {
 public:
  using Indexes = std::map<uint16_t, std::shared_ptr<SuperTraceBufferIndex>>;

  SuperTraceStatus(std::vector<uint16_t> agents, Done done)
      : SuperTraceAction(std::move(agents), std::move(done)) {}

  void start() override;
  void onAgentLost(uint16_t agent) override;

  const Indexes& getIndexes() const { return indexes_; }

 private:
  void confirmed(uint16_t agent, const KvnSuperTraceBufferIndexCfmS* cfm, size_t msgsize);
  void answered(uint16_t agent);

  std::set<uint16_t> awaiting_;
  bool refused_ = false;  // an agent without a buffer routine, or a bad index
  Indexes indexes_;
};

}  // namespace kvn
