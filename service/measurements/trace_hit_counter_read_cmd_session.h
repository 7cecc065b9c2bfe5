#pragma once
// `zoth tracehitcounter read <daxo id>`: asks every agent for the head of its hit counter
// table at once, then reads the tables one agent after the other, one piece at a time (a
// single data request in flight), and prints each with its trace strings from the agent's
// container. The agents' `inUse` flags are held for the whole command.

#include <stddef.h>
#include <stdint.h>

#include <map>
#include <set>
#include <vector>

#include "service/measurements/trace_hit_counter_cmd_session.h"
#include "service/measurements/trace_hit_counter_info.h"
#include "service/signals/trace_hit_counter_signals.h"

namespace kvn {

class TraceHitCounterReadCmdSession : public TraceHitCounterCmdSession {
 public:
  explicit TraceHitCounterReadCmdSession(std::vector<uint16_t> daxos);

  void start() override;
  void handleEvent(kvntrace::EventId event) override;

 private:
  void onInfo(uint16_t agent, const KvnTraceHitCounterInfoCfmS* cfm, size_t size);
  void infoCheck();
  void readAgent(size_t index);
  void requestRows(uint16_t firstIndex);
  void onData(const KvnTraceHitCounterDataCfmS* cfm, size_t size);
  void agentComplete();

  std::map<uint16_t, TraceHitCounterInfo> infos;
  std::vector<TraceHitEntry> hits;  // of the agent being read
  uint32_t pending = 0;
  bool lost = false;

  std::set<uint16_t> awaitingInfo;
  bool dataPhase = false;
  size_t current = 0;  // the agent being read, in `daxos`
};

}  // namespace kvn
