#include "service/datapath/super_trace_group.h"

#include "service/agents/daxo_trace_model.h"
#include "service/datapath/super_trace.h"
#include "tracing/log.h"

namespace kvn {

size_t SuperTraceGroup::countProducers(uint32_t state) const {
  size_t n = 0;
  for (uint16_t agent : agents_) n += DaxoTraceModel::get(agent).embuf.producerState == state;
  return n;
}

size_t SuperTraceGroup::countConsumers(uint32_t state) const {
  size_t n = 0;
  for (uint16_t agent : agents_) n += DaxoTraceModel::get(agent).embuf.consumerState == state;
  return n;
}

bool SuperTraceGroup::stopProducers() {
  bool ok = true;
  for (uint16_t agent : agents_) {
    if (controller_->stopProducer(agent)) continue;
    TC_LOG_ERROR("Failed to stop producer on DAXO=%u", static_cast<unsigned>(agent));
    ok = false;
  }
  return ok;
}

bool SuperTraceGroup::stopConsumers() {
  bool ok = true;
  for (uint16_t agent : agents_) {
    if (controller_->stopConsumer(agent)) continue;
    TC_LOG_ERROR("Failed to stop consumer on DAXO=%u", static_cast<unsigned>(agent));
    ok = false;
  }
  return ok;
}

bool SuperTraceGroup::startProducers() {
  bool ok = true;
  for (uint16_t agent : agents_) {
    if (controller_->startProducer(agent)) continue;
    TC_LOG_ERROR("Failed to start producer on DAXO=%u", static_cast<unsigned>(agent));
    ok = false;
  }
  return ok;
}

bool SuperTraceGroup::startConsumers() {
  bool ok = true;
  for (uint16_t agent : agents_) {
    if (controller_->startConsumer(agent)) continue;
    TC_LOG_ERROR("Failed to start consumer on DAXO=%u", static_cast<unsigned>(agent));
    ok = false;
  }
  return ok;
}

}  // namespace kvn
