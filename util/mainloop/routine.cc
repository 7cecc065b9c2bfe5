#include "util/mainloop/routine.h"

#include <algorithm>

#include "base/kvn_obs_sub_message_with_sub_msg_no.h"
#include "tracing/log.h"
#include "util/mainloop/routine_table.h"

namespace kvn {

void Routine::pxm_message(pxm_msg*& msg, size_t msgsize) {
  CPMUTIL_LOG_ERROR("Routine does %u not handle pxm messages.", routineId_);
}

void Routine::onEvent(kvntrace::EventId event) {
  if (isSubscribed(event)) handleEvent(event);
}

void Routine::handleEvent(kvntrace::EventId event) { CPMUTIL_LOG_ERROR("Unhandled event"); }

void Routine::setRoutineId(uint32_t routineId) { routineId_ = routineId; }

void Routine::setRoutineTable(RoutineTable* routineTable) { routineTable_ = routineTable; }

void Routine::release() {
  if (routineTable_ != nullptr) routineTable_->release(static_cast<uint16_t>(routineId_));
}

pxm_msg* Routine::alloc_msg(size_t size) {
  return RoutineTable::s_pxmsys->alloc(size, RoutineTable::s_baseSignalNo);
}

pxm_mbox_id_t Routine::sender(pxm_msg* msg) { return RoutineTable::s_pxmsys->sender(msg); }

void Routine::sendSignal(pxm_msg*& msg, pxm_mbox_id_t toMailbox) {
  CPMUTIL_LOG_DEBUG("Routine %u send pxm signal %u", routineId_, msg->msgno);
  RoutineTable::s_pxmsys->send(msg, toMailbox, PXM_MY_MBOX);
}

void Routine::sendObs(pxm_msg*& msg, pxm_mbox_id_t toMailbox, uint16_t srcRoutine,
                      uint16_t dstRoutine, uint16_t submsgno) {
  CPMUTIL_LOG_DEBUG("Routine %u send obs signal. srcRoutine = %u, destRoutine = %u, submsgno = %u",
                    routineId_, srcRoutine, dstRoutine, submsgno);
  auto* header = reinterpret_cast<KvnObsSubMessageWithSubMsgNo*>(msg);
  header->dstRoutineId = dstRoutine;
  header->srcRoutineId = srcRoutine;
  header->submsgno = submsgno;
  kvnObsSwapHeader(header);
  sendSignal(msg, toMailbox);
}

pxm_monitor_id_t Routine::monitor(pxm_mbox_id_t mailbox, pxm_msg*& msg) {
  return RoutineTable::s_pxmsys->monitor(mailbox, msg);
}

void Routine::unmonitor(pxm_monitor_id_t ref) { RoutineTable::s_pxmsys->unmonitor(ref); }

void Routine::subscribeEvent(kvntrace::EventId event) {
  if (!isSubscribed(event)) subscribedEvents_.push_back(event);
}

void Routine::unsubscribeEvent(kvntrace::EventId event) {
  auto it = std::find(subscribedEvents_.begin(), subscribedEvents_.end(), event);
  if (it != subscribedEvents_.end()) subscribedEvents_.erase(it);
}

bool Routine::isSubscribed(kvntrace::EventId event) const {
  return std::find(subscribedEvents_.begin(), subscribedEvents_.end(), event) !=
         subscribedEvents_.end();
}

}  // namespace kvn
