#include "service/tracecontrol/trace_toggler.h"

#include <fnmatch.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "service/agents/daxo_trace_model.h"
#include "service/tracecontrol/compiled_trace_pattern.h"
#include "service/tracecontrol/object_name_index.h"
#include "service/tracecontrol/profile_application.h"
#include "service/tracecontrol/trace_object_controller.h"
#include "service/tracecontrol/utrace_config.h"
#include "tracetables/bad_profile_exception.h"
#include "tracetables/profile_provider.h"
#include "tracetables/trace_group_table.h"
#include "tracing/log.h"

namespace kvn {

namespace {

// The text behind the last dot; the whole name when it has none.
std::string lastPart(const std::string& name) { return name.substr(name.rfind('.') + 1); }

const TraceObjectEntry* findObject(const DaxoRecord& record, const std::string& name) {
  for (const TraceObjectEntry& e : record.traceObjects)
    if (e.name == name) return &e;
  return nullptr;
}

}  // namespace

bool TraceToggler::isProfile(const std::string& name) const {
  const DaxoRecord& record = DaxoTraceModel::get(bbmHwNumber_);
  if (!record.profileProvider) return false;
  const std::vector<std::string> names = record.profileProvider->getProfileNames();
  return std::find(names.begin(), names.end(), name) != names.end();
}

bool TraceToggler::isUtracePoint(const std::string& name) const {
  for (const UtracePoint& p : DaxoTraceModel::get(bbmHwNumber_).uTracePoints)
    if (p.name == name) return true;
  return false;
}

bool TraceToggler::isApplicable(const std::string& name) const {
  const DaxoRecord& record = DaxoTraceModel::get(bbmHwNumber_);
  const size_t dot = name.rfind('.');
  const std::string tail = lastPart(name);
  const bool hasGroup = tail == "all" || TraceGroupTable::indexOf(tail) >= 0;
  const std::string object = hasGroup && dot != std::string::npos ? name.substr(0, dot) : name;
  return findObject(record, object) != nullptr || isUtracePoint(name) || isProfile(name);
}

bool TraceToggler::allUtracePoints(const std::vector<std::string>& names) const {
  return std::all_of(names.begin(), names.end(),
                     [this](const std::string& n) { return isUtracePoint(n); });
}

bool TraceToggler::holdsProfile(const std::vector<std::string>& names) const {
  return std::any_of(names.begin(), names.end(),
                     [this](const std::string& n) { return isProfile(n); });
}

void TraceToggler::checkDisableable(const std::vector<std::string>& names,
                                    const DisableCheck& answer) const {
  const DaxoRecord& record = DaxoTraceModel::get(bbmHwNumber_);
  for (const std::string& name : names) {
    if (isProfile(name) && record.enabledProfiles.count(name) == 0) {
      answer(true, name + " is already disabled on daxo " + std::to_string(bbmHwNumber_));
      return;
    }
  }
  answer(false, "");
}

void TraceToggler::toggle(const std::vector<std::string>& names, bool enable, Done done,
                          NotApplicable notApplicable, VerboseText verboseText, bool verbose) {
  std::string unknown;
  for (const std::string& name : names)
    if (!isApplicable(name)) unknown += "  " + name + "\n";
  if (!unknown.empty()) {
    notApplicable("The following traces/profiles are not applicable on daxo " +
                      std::to_string(bbmHwNumber_) + ":\n",
                  unknown);
    return;
  }
  if (toggleObject(names, enable, done)) return;
  if (toggleUtrace(names, enable, done)) return;

  DaxoRecord& record = DaxoTraceModel::get(bbmHwNumber_);
  if (record.profileProvider && holdsProfile(names)) {
    if (verbose) verboseText(probesNotApplicable(names));
    for (const std::string& name : names) {
      if (enable)
        record.enabledProfiles.insert(name);
      else
        record.enabledProfiles.erase(name);
    }
    ProfileApplication::reapplyAll(bbmHwNumber_, std::move(done));
    return;
  }
  // Known names of different kinds, say an object group and a utrace point under one prefix:
  // there is nothing to send, and the command must still end.
  if (done) done();
}

bool TraceToggler::toggleObject(const std::vector<std::string>& names, bool enable, Done& done) {
  uint32_t mask = 0;
  bool unknownGroup = false;
  for (const std::string& name : names) {
    const uint32_t bits = TraceGroupTable::bitOf(lastPart(name));
    if (bits == 0) unknownGroup = true;
    mask |= bits;
  }
  if (names.empty()) mask = TraceGroupTable::kAll;
  if (unknownGroup) mask = 0;
  std::string objectName = names.empty() ? "" : names.front().substr(0, names.front().rfind('.'));
  if (mask == 0) {
    if (names.size() != 1) return false;
    objectName = names.front();
    mask = TraceGroupTable::kAll;
  }
  DaxoRecord& record = DaxoTraceModel::get(bbmHwNumber_);
  const TraceObjectEntry* object = findObject(record, objectName);
  const std::shared_ptr<TraceObjectController> controller = record.traceObjectManager.controller;
  if (!object || !controller) return false;
  const uint16_t strId = object->strId;
  overrides_.set(strId, mask, enable);
  if (controller->getChanges().empty()) {
    if (done) done();
    return true;
  }
  controller->setMasks({{strId, object->mask}}, std::move(done));
  return true;
}

bool TraceToggler::toggleUtrace(const std::vector<std::string>& names, bool enable, Done& done) {
  if (!allUtracePoints(names)) return false;
  const std::shared_ptr<UTraceConfig> config =
      DaxoTraceModel::get(bbmHwNumber_).uniqueTraceManager.config;
  std::vector<size_t> positions;
  try {
    if (config)
      for (const std::string& name : names) positions.push_back(config->positionByName(name));
  } catch (const std::runtime_error& e) {
    TC_LOG_ERROR("%s", e.what());
    positions.clear();
  }
  for (size_t position : positions) overrides_.setUtrace(position, enable);
  if (config)
    config->setPoints(positions, enable, std::move(done));
  else if (done)
    done();
  return true;
}

std::string TraceToggler::probesNotApplicable(const std::vector<std::string>& names) const {
  DaxoRecord& record = DaxoTraceModel::get(bbmHwNumber_);
  ObjectNameIndex index(record.traceObjects);
  std::vector<uint32_t> bits(record.traceObjects.size());
  std::string text;
  for (const std::string& name : names) {
    if (!isProfile(name)) continue;
    const kvntrace::Profile profile = record.profileProvider->getProfile(name);
    for (const kvntrace::TraceProbe& probe : profile.getTraceProbes()) {
      const std::string& pattern = probe.getTracePoint();
      std::fill(bits.begin(), bits.end(), 0);
      CompiledTracePattern(pattern).orInto(index, bits);
      bool matches = std::any_of(bits.begin(), bits.end(), [](uint32_t b) { return b != 0; });
      for (size_t i = 0; !matches && i < record.uTracePoints.size(); ++i)
        matches = fnmatch(pattern.c_str(), record.uTracePoints[i].name.c_str(), 0) == 0;
      if (!matches)
        text += pattern + " is not applicable on daxo " + std::to_string(bbmHwNumber_) + "\n";
    }
  }
  return text;
}

}  // namespace kvn
