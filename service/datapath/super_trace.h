#pragma once
// The SuperTrace controller: starts and stops the producers and consumers of the agents' high-rate
// trace path, one agent at a time, and passes what the agents report (a stop confirmed, a buffer
// full or drained, the agent lost) on to the run that the agent's record holds. One object for
// the process; the agents' indications reach it under the fixed routine number it is given.
//
// It watches every connected agent that has a SuperTrace routine, from connect to loss.

#include <stdint.h>

#include <map>
#include <memory>
#include <set>

#include "util/mainloop/callback_utils.h"
#include "util/mainloop/event_id.h"
#include "util/mainloop/routine.h"

namespace kvn {

struct DaxoRecord;
class RoutineTable;

class SuperTrace : public Routine, public CallbackUtils {
 public:
  // Sub-message numbers of the agent's indications.
  static constexpr uint16_t kBufferFullInd = 8;
  static constexpr uint16_t kBufferEmptyInd = 9;

  // Takes `routineId` in the table for the agents' indications, and gives it back when it goes.
  SuperTrace(kvntrace::EventId connectEvent, RoutineTable* routineTable, uint16_t routineId);
  ~SuperTrace() override;
  SuperTrace(const SuperTrace&) = delete;
  SuperTrace& operator=(const SuperTrace&) = delete;

  // Each is refused (false) unless the agent's producer or consumer is in the state the step
  // starts from: a start from stopped, a stop from started.
  virtual bool startProducer(uint16_t agent);
  virtual bool startConsumer(uint16_t agent);
  virtual bool stopProducer(uint16_t agent);
  virtual bool stopConsumer(uint16_t agent);

  // The sources routed into the agent's memory buffer: bit 0 token, bits 1 to 3 rtt, bit 4 lpp;
  // 0 when none is.
  static uint16_t sourceMask(const DaxoRecord& record);
  // The memory buffer is routed on to a destination: a start streams rather than records.
  static bool isStreaming(const DaxoRecord& record);

  const std::map<uint16_t, kvntrace::EventId>& watchedAgents() const { return watched_; }

  // The agents' indications, from the receiver.
  void pxm_message(pxm_msg*& msg, size_t msgsize) override;
  // The connect event and the watched agents' lost events, from the receiver.
  void handleEvent(kvntrace::EventId event) override;

 private:
  class Receiver;

  void watchConnected();
  void lost(uint16_t agent);

  RoutineTable* routineTable_;
  uint16_t routineId_;
  kvntrace::EventId connectEvent_;
  // Each watched agent with the lost event of the connection it is watched on.
  std::map<uint16_t, kvntrace::EventId> watched_;
  std::shared_ptr<Receiver> receiver_;
};

}  // namespace kvn
