#include "service/trace_object_controller.h"

#include <utility>

#include "service/daxo_trace_model.h"

namespace kvn {

TraceObjectController::TraceObjectController(uint16_t bbmHwNumber,
                                             std::shared_ptr<TraceObjectProxy> proxy)
    : proxy_(std::move(proxy)), bbmHwNumber_(bbmHwNumber) {}

TraceObjectController::~TraceObjectController() = default;

std::vector<TraceObjectMask> TraceObjectController::getChanges() { return {}; }

std::vector<TraceObjectMask> TraceObjectController::getAll() {
  std::vector<TraceObjectMask> all;
  const DaxoRecord& record = DaxoTraceModel::get(bbmHwNumber_);
  all.reserve(record.traceObjects.size());
  for (const TraceObjectEntry& e : record.traceObjects) all.push_back({e.strId, e.mask});
  return all;
}

void TraceObjectController::setMasks(std::vector<TraceObjectMask> masks, Done done) {
  pending_.push_back({std::move(masks), std::move(done)});
}

void TraceObjectController::applyManualChanges() {}

}  // namespace kvn
