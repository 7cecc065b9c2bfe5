#include "service/tracecontrol/manual_trace_overrides.h"

namespace kvn {

void ManualTraceOverrides::set(size_t strId, uint32_t mask, bool on) {
  if (strId >= objects_.size()) objects_.resize(strId + 1);
  ObjectOverride& o = objects_[strId];
  o.changed |= mask;
  if (on)
    o.on |= mask;
  else
    o.on &= ~mask;
}

uint32_t ManualTraceOverrides::forcedOn(size_t strId) const {
  return strId < objects_.size() ? objects_[strId].changed & objects_[strId].on : 0;
}

uint32_t ManualTraceOverrides::forcedOff(size_t strId) const {
  return strId < objects_.size() ? objects_[strId].changed & ~objects_[strId].on : 0;
}

void ManualTraceOverrides::forget(size_t strId, uint32_t mask) {
  if (strId < objects_.size()) objects_[strId].changed &= ~mask;
}

void ManualTraceOverrides::setUtrace(size_t point, bool value) {
  if (point >= utrace_.size()) utrace_.resize(point + 1);
  utrace_[point] = {true, value};
}

ManualTraceOverrides::UtraceOverride ManualTraceOverrides::utrace(size_t point) const {
  return point < utrace_.size() ? utrace_[point] : UtraceOverride();
}

void ManualTraceOverrides::clear() {
  objects_.clear();
  utrace_.clear();
}

}  // namespace kvn
