#include "service/tracecontrol/utrace_config.h"

#include <stddef.h>
#include <string.h>

#include <stdexcept>
#include <utility>

#include "service/agents/daxo_trace_model.h"
#include "tracing/log.h"

namespace kvn {

UTraceConfig::UTraceConfig(uint16_t bbmHwNumber, std::shared_ptr<UTraceProxy> proxy)
    : proxy_(std::move(proxy)),
      bbmHwNumber_(bbmHwNumber),
      batches_([this](const std::vector<UtraceChange>& changes, bool) { sendBatch(changes); }) {}

UTraceConfig::~UTraceConfig() = default;

void UTraceConfig::setPoints(const std::vector<size_t>& positions, bool enable, Done done) {
  std::vector<UtracePoint>& points = DaxoTraceModel::get(bbmHwNumber_).uTracePoints;
  std::vector<UtraceChange> changes;
  for (size_t position : positions) {
    if (position >= points.size()) continue;
    UtracePoint& p = points[position];
    if (p.enabled == enable) continue;
    p.enabled = enable;
    changes.push_back({p.id, enable != p.isDefault});
  }
  if (changes.empty()) {
    TC_LOG_INFO("No UTracepoint config needs to be updated");
    if (done) done();
    return;
  }
  send(std::move(changes), std::move(done));
}

void UTraceConfig::send(std::vector<UtraceChange> changes, Done done) {
  batches_.push(std::move(changes), std::move(done));
}

void UTraceConfig::sendBatch(const std::vector<UtraceChange>& changes) {
  const size_t count = changes.size();
  auto* msg = reinterpret_cast<KvnUtraceSetConfigReqS*>(
      proxy_->alloc_msg(KvnUtraceSetConfigReqS::sizeFor(count)));
  msg->count = static_cast<uint16_t>(count);
  uint8_t* entry = reinterpret_cast<uint8_t*>(msg) + offsetof(KvnUtraceSetConfigReqS, entries);
  for (const UtraceChange& c : changes) {
    const KvnUtraceConfigEntryS e{c.id, static_cast<uint16_t>(c.differsFromDefault ? 1 : 0)};
    memcpy(entry, &e, sizeof e);
    entry += sizeof e;
  }
  std::function<void(KvnUtraceSetConfigCfmS*&, size_t)> onCfm =
      [this](KvnUtraceSetConfigCfmS*&, size_t) { batches_.confirmed(); };
  proxy_->send(msg, getKillableCallback(std::move(onCfm)));
  TC_LOG_INFO("UTracepoint config sent to daxo for %d tracepoints", static_cast<int>(count));
}

size_t UTraceConfig::positionByName(const std::string& name) const {
  const std::vector<UtracePoint>& points = DaxoTraceModel::get(bbmHwNumber_).uTracePoints;
  for (size_t i = 0; i < points.size(); ++i)
    if (points[i].name == name) return i;
  throw std::runtime_error("Tracepoint with name " + name + " does not exist for DAXO " +
                           std::to_string(bbmHwNumber_));
}

std::vector<UtraceChange> UTraceConfig::allChanges() const {
  std::vector<UtraceChange> all;
  for (const UtracePoint& p : DaxoTraceModel::get(bbmHwNumber_).uTracePoints)
    all.push_back({p.id, p.enabled != p.isDefault});
  return all;
}

}  // namespace kvn
