#include "service/utrace_config.h"

#include <utility>

#include "service/daxo_trace_model.h"

namespace kvn {

UTraceConfig::UTraceConfig(uint16_t bbmHwNumber, std::shared_ptr<UTraceProxy> proxy)
    : proxy_(std::move(proxy)), bbmHwNumber_(bbmHwNumber) {}

UTraceConfig::~UTraceConfig() = default;

void UTraceConfig::send(std::vector<UtraceChange> changes, Done done) {
  pending_.push_back({std::move(changes), std::move(done)});
}

std::vector<UtraceChange> UTraceConfig::allChanges() const {
  std::vector<UtraceChange> all;
  for (const UtracePoint& p : DaxoTraceModel::get(bbmHwNumber_).uTracePoints)
    all.push_back({p.id, p.enabled != p.isDefault});
  return all;
}

}  // namespace kvn
