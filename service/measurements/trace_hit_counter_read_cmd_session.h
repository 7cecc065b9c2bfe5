#pragma once
// `zoth tracehitcounter read <daxo id>`: asks every agent for the head of its hit counter
// table at once, then reads the tables one agent after the other, one piece at a time (a
// single data request in flight), and prints each with its trace strings from the agent's
// container. The agents' `inUse` flags are held for the whole command.

#include <stddef.h>
#include <stdint.h>

#include <map>
#include <set>
#include <sstream>
#include <vector>

#include "service/measurements/trace_hit_counter_info.h"
#include "service/signals/trace_hit_counter_signals.h"
#include "util/cmd_session.h"

namespace kvn {

class TraceHitCounterReadCmdSession : public CmdSession {
 public:
  // Subscribes to the lost events of the agents, which must have connected.
  explicit TraceHitCounterReadCmdSession(std::vector<uint16_t> daxos);

  void start() override;
  void handleEvent(kvntrace::EventId event) override;
  void abort(KvnTraceCtrlTaviAbortInd*& msg, size_t msgsize) override;

 private:
  void onInfo(uint16_t agent, const KvnTraceHitCounterInfoCfmS* cfm, size_t size);
  void infoCheck();
  void readAgent(size_t index);
  void requestRows(uint16_t firstIndex);
  void onData(const KvnTraceHitCounterDataCfmS* cfm, size_t size);
  void agentComplete();
  void finish(uint8_t result);

  std::vector<uint16_t> daxos;
  std::map<uint16_t, TraceHitCounterInfo> infos;
  std::vector<TraceHitEntry> hits;  // of the agent being read
  uint32_t pending = 0;
  std::ostringstream text;
  bool lost = false;

  std::map<kvntrace::EventId, uint16_t> lostEvents;
  std::set<uint16_t> awaitingInfo;
  bool dataPhase = false;
  size_t current = 0;  // the agent being read, in `daxos`
  bool ended = false;
};

}  // namespace kvn
