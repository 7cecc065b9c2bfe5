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
    : proxy_(std::move(proxy)),
      bbmHwNumber_(bbmHwNumber),
      batches_([this](const std::vector<TraceObjectMask>& masks, bool queued) {
        sendBatch(masks, queued);
      }) {}

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
  batches_.push(std::move(masks), std::move(done));
}

void TraceObjectController::sendBatch(const std::vector<TraceObjectMask>& masks, bool queued) {
  const size_t count = masks.size();
  if (queued)
    CPMUTIL_LOG_DEBUG("Sending queued setMaskReq for %u objects to daxo %u",
                      static_cast<unsigned>(count), bbmHwNumber_);
  else
    TC_LOG_INFO("Sending setMaskReq for %u objects to daxo %u", static_cast<unsigned>(count),
                bbmHwNumber_);
  auto* msg = reinterpret_cast<KvnTraceObjectSetMaskReqS*>(
      proxy_->alloc_msg(KvnTraceObjectSetMaskReqS::sizeFor(count)));
  msg->count = static_cast<uint16_t>(count);
  uint8_t* entry = reinterpret_cast<uint8_t*>(msg) + offsetof(KvnTraceObjectSetMaskReqS, entries);
  for (const TraceObjectMask& m : masks) {
    const KvnTraceObjectMaskEntryS e{m.strId, m.mask};
    memcpy(entry, &e, sizeof e);
    entry += sizeof e;
  }
  std::function<void(KvnTraceObjectSetMaskCfmS*&, size_t)> onCfm =
      [this](KvnTraceObjectSetMaskCfmS*&, size_t) { batches_.confirmed(); };
  proxy_->send(msg, getKillableCallback(std::move(onCfm)));
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
