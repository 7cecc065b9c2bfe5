#include "service/tracecontrol/profile_application.h"

#include <memory>
#include <utility>

#include "service/agents/daxo_trace_model.h"
#include "service/tracecontrol/manual_trace_overrides.h"
#include "service/tracecontrol/profile_mask_engine.h"
#include "service/tracecontrol/trace_object_controller.h"
#include "service/tracecontrol/trace_toggler.h"
#include "service/tracecontrol/utrace_config.h"
#include "tracetables/profile_provider.h"

namespace kvn {

namespace {

void expand(const std::string& name, const DaxoRecord& record,
            const kvntrace::ProfileProvider& provider, const std::set<std::string>& all,
            std::set<std::string>& seen, std::vector<kvntrace::Profile>& out) {
  seen.insert(name);
  kvntrace::Profile filtered =
      provider.getProfile(name).filter(record.instanceName, record.roleIndex);
  out.push_back(filtered);
  for (const std::string& n : all) {
    if (seen.count(n) == 0 && filtered.matchesTracePoint(n))
      expand(n, record, provider, all, seen, out);
  }
}

// The engine of the agent's controller, which keeps what it learns for the connection; an
// agent without one gets a fresh engine for the call.
template <typename F>
auto withEngine(const DaxoRecord& record, F f) {
  if (record.traceObjectManager.controller)
    return f(record.traceObjectManager.controller->maskEngine());
  ProfileMaskEngine engine;
  return f(engine);
}

}  // namespace

std::vector<kvntrace::Profile> ProfileApplication::expandProfiles(
    const DaxoRecord& record, const std::set<std::string>& names,
    const kvntrace::ProfileProvider& provider) {
  std::set<std::string> all;
  for (std::string& n : provider.getProfileNames()) all.insert(std::move(n));
  std::set<std::string> seen;
  std::vector<kvntrace::Profile> out;
  for (const std::string& name : names)
    if (seen.count(name) == 0) expand(name, record, provider, all, seen, out);
  return out;
}

void ProfileApplication::applyToObjects(DaxoRecord& record, const std::set<std::string>& names,
                                        bool enable) {
  withEngine(record, [&](ProfileMaskEngine& engine) {
    const std::vector<uint32_t>& bits = engine.bitsFor(record, names);
    for (size_t i = 0; i < record.traceObjects.size(); ++i) {
      if (bits[i] == 0) continue;
      if (enable)
        record.traceObjects[i].mask |= bits[i];
      else
        record.traceObjects[i].mask &= ~bits[i];
    }
  });
}

void ProfileApplication::applyToUtrace(DaxoRecord& record, const std::set<std::string>& names,
                                       bool enable) {
  if (record.uTracePoints.empty()) return;
  withEngine(record, [&](ProfileMaskEngine& engine) {
    const std::vector<const kvntrace::Profile*> profiles = engine.expand(record, names);
    for (UtracePoint& point : record.uTracePoints) {
      for (const kvntrace::Profile* p : profiles) {
        if (p->matchesTracePoint(point.name)) {
          point.enabled = enable;
          break;
        }
      }
    }
  });
}

void ProfileApplication::apply(DaxoRecord& record, const std::set<std::string>& names,
                               bool enable) {
  applyToObjects(record, names, enable);
  applyToUtrace(record, names, enable);
}

void ProfileApplication::reapplyAll(uint16_t bbmHwNumber, Done done) {
  DaxoRecord& record = DaxoTraceModel::get(bbmHwNumber);
  for (TraceObjectEntry& e : record.traceObjects) e.mask = 0;
  for (UtracePoint& p : record.uTracePoints) p.enabled = p.isDefault;
  if (record.profileProvider) apply(record, record.enabledProfiles, true);
  const std::shared_ptr<TraceObjectController> controller = record.traceObjectManager.controller;
  if (controller) controller->applyManualChanges();
  if (record.traceToggler) {
    const ManualTraceOverrides& overrides = record.traceToggler->overrides();
    for (size_t i = 0; i < record.uTracePoints.size(); ++i) {
      const ManualTraceOverrides::UtraceOverride o = overrides.utrace(i);
      if (o.changed) record.uTracePoints[i].enabled = o.value;
    }
  }

  // The two sends go side by side; `done` runs after the second has ended.
  auto halvesLeft = std::make_shared<int>(2);
  auto halfDone = [halvesLeft, done = std::move(done)] {
    if (--*halvesLeft == 0 && done) done();
  };
  std::vector<TraceObjectMask> all;
  if (controller) all = controller->getAll();
  if (!all.empty())
    controller->setMasks(std::move(all), halfDone);
  else
    halfDone();
  if (const std::shared_ptr<UTraceConfig> config = record.uniqueTraceManager.config)
    config->send(config->allChanges(), halfDone);
  else
    halfDone();
}

}  // namespace kvn
