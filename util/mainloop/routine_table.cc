#include "util/mainloop/routine_table.h"

#include <cstdio>
#include <utility>

#include "base/kvn_obs_sub_message_with_sub_msg_no.h"

namespace kvn {

hkm::PXMInterface* RoutineTable::s_pxmsys = nullptr;
uint32_t RoutineTable::s_baseSignalNo = 0;

RoutineTable::RoutineTable(hkm::PXMInterface* pxm, uint32_t baseSignalNo) : routines_(kSize) {
  s_pxmsys = pxm;
  s_baseSignalNo = baseSignalNo;
  for (uint16_t id = kSize - 1; id >= 1; --id) freeIds_.push(id);
}

RoutineTable::~RoutineTable() {
  for (auto& slot : routines_) {
    // A dying routine may still call release() on the table; the slot is already empty then.
    std::shared_ptr<AbstractRoutine> routine = std::move(slot);
    routine.reset();
  }
  freeIds_ = {};
  pendingRelease_ = {};
}

void RoutineTable::register_(const std::shared_ptr<AbstractRoutine>& routine, uint16_t id) {
  routine->setRoutineId(id);
  routine->setRoutineTable(this);
  routines_[id] = routine;
}

void RoutineTable::allocate(std::shared_ptr<AbstractRoutine> routine, uint16_t id) {
  if (id >= kSize) throw Exception::IdError("Routine ID out of range");
  if (routines_[id]) throw Exception::AlreadyAllocated("Routine ID is already allocated");
  register_(routine, id);
}

uint16_t RoutineTable::allocate(std::shared_ptr<AbstractRoutine> routine) {
  uint16_t id;
  do {
    if (freeIds_.empty()) throw Exception::IdError("No more room in routine table");
    id = freeIds_.front();
    freeIds_.pop();
  } while (routines_[id]);
  register_(routine, id);
  return id;
}

void RoutineTable::release(uint16_t id) { pendingRelease_.push(id); }

void RoutineTable::free(uint16_t id) {
  if (id >= kSize || !routines_[id]) return;
  std::shared_ptr<AbstractRoutine> routine = std::move(routines_[id]);
  freeIds_.push(id);
  routine.reset();  // the slot is consistent before the routine's destructor runs
}

std::shared_ptr<AbstractRoutine> RoutineTable::take(uint16_t id) {
  if (id >= kSize || !routines_[id]) return nullptr;
  std::shared_ptr<AbstractRoutine> routine = std::move(routines_[id]);
  freeIds_.push(id);
  return routine;
}

std::shared_ptr<AbstractRoutine> RoutineTable::get(uint16_t id) const {
  return id < kSize ? routines_[id] : nullptr;
}

size_t RoutineTable::usedSlots() const {
  size_t n = 0;
  for (const auto& slot : routines_) n += slot ? 1 : 0;
  return n;
}

void RoutineTable::dispatch(pxm_mbox_id_t sender, pxm_msg*& msg, size_t size) {
  static char text[256];
  if (size < sizeof(KvnObsSubMessageWithSubMsgNo)) {
    snprintf(text, sizeof text,
             "RoutineTable failed to route message from mbox=%u: %zu bytes, shorter than its "
             "header",
             sender, size);
    throw Exception::RoutingFailed(text);
  }
  auto* header = reinterpret_cast<KvnObsSubMessageWithSubMsgNo*>(msg);
  kvnObsSwapHeader(header);
  const uint16_t dst = header->dstRoutineId;
  if (dst < kSize && routines_[dst]) {
    // Our own reference keeps the routine alive through its call, whatever it frees.
    std::shared_ptr<AbstractRoutine> routine = routines_[dst];
    routine->pxm_message(msg, size);
    drain();
    return;
  }
  snprintf(text, sizeof text,
           "RoutineTable failed to route message from mbox=%u: srcRoutineId=%u, "
           "dstRoutineId=%u, submsgno=%u",
           sender, header->srcRoutineId, header->dstRoutineId, header->submsgno);
  throw Exception::RoutingFailed(text);
}

void RoutineTable::sendEvent(kvntrace::EventId event) {
  for (size_t id = 0; id < kSize; ++id) {
    if (!routines_[id]) continue;
    std::shared_ptr<AbstractRoutine> routine = routines_[id];
    routine->onEvent(event);
  }
  drain();
}

void RoutineTable::drain() {
  while (!pendingRelease_.empty()) {
    free(pendingRelease_.front());
    pendingRelease_.pop();
  }
}

}  // namespace kvn
