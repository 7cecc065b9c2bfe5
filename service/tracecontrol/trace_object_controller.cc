#include "service/tracecontrol/trace_object_controller.h"

#include <stddef.h>
#include <string.h>

#include <utility>

#include "service/agents/daxo_trace_model.h"
#include "service/tracecontrol/manual_trace_overrides.h"
#include "service/tracecontrol/trace_toggler.h"
#include "tracing/log.h"

namespace kvn {

TraceObjectController::TraceObjectController(uint16_t bbmHwNumber,
                                             std::shared_ptr<TraceObjectProxy> proxy)
    : proxy_(std::move(proxy)), bbmHwNumber_(bbmHwNumber) {}

TraceObjectController::~TraceObjectController() = default;

std::vector<TraceObjectMask> TraceObjectController::getChanges() {
  DaxoRecord& record = DaxoTraceModel::get(bbmHwNumber_);
  std::vector<uint32_t> before;
  before.reserve(record.traceObjects.size());
  for (TraceObjectEntry& e : record.traceObjects) {
    before.push_back(e.mask);
    e.mask = 0;
  }
  const std::vector<uint32_t>& bits = engine_.bitsFor(record, record.enabledProfiles);
  for (size_t i = 0; i < record.traceObjects.size(); ++i) record.traceObjects[i].mask |= bits[i];
  applyManualChanges();
  std::vector<TraceObjectMask> changes;
  for (size_t i = 0; i < record.traceObjects.size(); ++i) {
    const TraceObjectEntry& e = record.traceObjects[i];
    if (e.mask != before[i]) changes.push_back({e.strId, e.mask});
  }
  return changes;
}

std::vector<TraceObjectMask> TraceObjectController::getAll() {
  std::vector<TraceObjectMask> all;
  const DaxoRecord& record = DaxoTraceModel::get(bbmHwNumber_);
  all.reserve(record.traceObjects.size());
  for (const TraceObjectEntry& e : record.traceObjects) all.push_back({e.strId, e.mask});
  return all;
}

void TraceObjectController::setMasks(std::vector<TraceObjectMask> masks, Done done) {
  pending_.push_back({std::move(masks), std::move(done)});
  if (busy_) return;
  TC_LOG_INFO("Sending setMaskReq for %u objects to daxo %u",
              static_cast<unsigned>(pending_.front().masks.size()), bbmHwNumber_);
  sendFront();
}

void TraceObjectController::sendFront() {
  Batch batch = std::move(pending_.front());
  pending_.pop_front();
  const size_t count = batch.masks.size();
  auto* msg = reinterpret_cast<KvnTraceObjectSetMaskReqS*>(
      proxy_->alloc_msg(KvnTraceObjectSetMaskReqS::sizeFor(count)));
  msg->count = static_cast<uint16_t>(count);
  uint8_t* entry = reinterpret_cast<uint8_t*>(msg) + offsetof(KvnTraceObjectSetMaskReqS, entries);
  for (const TraceObjectMask& m : batch.masks) {
    const KvnTraceObjectMaskEntryS e{m.strId, m.mask};
    memcpy(entry, &e, sizeof e);
    entry += sizeof e;
  }
  inFlight_ = std::move(batch.done);
  std::function<void(KvnTraceObjectSetMaskCfmS*&, size_t)> onCfm =
      [this](KvnTraceObjectSetMaskCfmS*&, size_t) { onConfirm(); };
  proxy_->send(msg, getKillableCallback(std::move(onCfm)));
  busy_ = true;
}

void TraceObjectController::onConfirm() {
  // Still busy while the callback runs: whatever it queues comes behind the batches waiting.
  Done done = std::move(inFlight_);
  inFlight_ = nullptr;
  if (done) done();
  if (pending_.empty()) {
    busy_ = false;
    return;
  }
  CPMUTIL_LOG_DEBUG("Sending queued setMaskReq for %u objects to daxo %u",
                    static_cast<unsigned>(pending_.front().masks.size()), bbmHwNumber_);
  busy_ = false;  // until the next one is really out
  sendFront();
}

void TraceObjectController::applyManualChanges() {
  DaxoRecord& record = DaxoTraceModel::get(bbmHwNumber_);
  if (!record.traceToggler) return;
  const ManualTraceOverrides& overrides = record.traceToggler->overrides();
  for (TraceObjectEntry& e : record.traceObjects) {
    e.mask |= overrides.forcedOn(e.strId);
    e.mask &= ~overrides.forcedOff(e.strId);
  }
}

}  // namespace kvn
