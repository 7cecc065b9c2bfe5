#pragma once

#include <vector>

#include "util/mainloop/abstract_routine.h"

namespace kvn {

// The base of every routine. A plain Routine is also what a temporary sender is: a number to
// send from, registered, used once and released.
class Routine : public AbstractRoutine {
 public:
  Routine() = default;
  Routine(const Routine&) = delete;
  Routine& operator=(const Routine&) = delete;

  void pxm_message(pxm_msg*& msg, size_t msgsize) override;
  ~Routine() override = default;
  void onEvent(kvntrace::EventId event) override;
  void handleEvent(kvntrace::EventId event) override;
  void setRoutineId(uint32_t routineId) override;
  void setRoutineTable(RoutineTable* routineTable) override;

  uint32_t getRoutineId() const { return routineId_; }
  RoutineTable* getRoutineTable() const { return routineTable_; }
  // The table deletes this routine once the dispatch under way has returned.
  void release();

  // A routine-addressed message of `size` bytes, header included.
  static pxm_msg* alloc_msg(size_t size);
  static pxm_mbox_id_t sender(pxm_msg* msg);
  void sendSignal(pxm_msg*& msg, pxm_mbox_id_t toMailbox);
  // Writes the header fields (big-endian) and sends.
  void sendObs(pxm_msg*& msg, pxm_mbox_id_t toMailbox, uint16_t srcRoutine, uint16_t dstRoutine,
               uint16_t submsgno);
  static pxm_monitor_id_t monitor(pxm_mbox_id_t mailbox, pxm_msg*& msg);
  static void unmonitor(pxm_monitor_id_t ref);

  void subscribeEvent(kvntrace::EventId event);
  void unsubscribeEvent(kvntrace::EventId event);
  bool isSubscribed(kvntrace::EventId event) const;

 private:
  uint32_t routineId_ = 0;
  RoutineTable* routineTable_ = nullptr;
  std::vector<kvntrace::EventId> subscribedEvents_;
};

}  // namespace kvn
