// Mask computation of an agent with 20000 trace objects and 200 profiles of 20 probes: the
// controller against a plain, literal rendering of the rule (fnmatch of "<object>.<group>" for
// every object, expanded profile and group). Every case is checked to give the same masks for
// every object before it is timed; each fast figure is printed beside its reference, and the
// ratios at the end.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "bench/ratio_reporter.h"
#include "bench/smoke_flag.h"
#include "service/agents/daxo_trace_model.h"
#include "service/tracecontrol/manual_trace_overrides.h"
#include "service/tracecontrol/profile_application.h"
#include "service/tracecontrol/trace_object_controller.h"
#include "service/tracecontrol/trace_toggler.h"
#include "tracetables/bad_profile_exception.h"
#include "tracetables/profile_provider.h"
#include "tracetables/trace_group_table.h"

namespace kvn {
namespace {

constexpr uint16_t kAgent = 1;
constexpr size_t kObjects = 20000;
constexpr size_t kProfiles = 200;

class BenchProvider : public kvntrace::ProfileProvider {
 public:
  BenchProvider() : ProfileProvider("") {}
  kvntrace::Profile getFlightRecorderProfile() const override { return {}; }
  std::vector<std::string> getProfileNames() const override {
    std::vector<std::string> names;
    for (const auto& p : profiles) names.push_back(p.first);
    return names;
  }
  kvntrace::Profile getProfile(const std::string& name) const override {
    auto it = profiles.find(name);
    if (it == profiles.end()) throw kvntrace::BadProfileException(name);
    return it->second;
  }
  std::map<std::string, kvntrace::Profile> profiles;
};

std::string profileName(size_t i) { return "Prof" + std::to_string(i); }

// The agent of every case: names of the usual kinds and a few odd ones.
DaxoRecord& buildAgent() {
  DaxoRecord& r = DaxoTraceModel::get(kAgent);
  r = DaxoRecord();
  r.bbmHwNumber = kAgent;
  r.instanceName = "MOKA/1";
  r.roleIndex = 1;
  r.connected = true;
  r.traceToggler = std::make_shared<TraceToggler>(kAgent);
  for (size_t i = 0; i < kObjects; ++i) {
    std::string name;
    switch (i % 8) {
      case 0:
        name = "Obj" + std::to_string(i);
        break;
      case 1:
        name = "a.b." + std::to_string(i);
        break;
      case 2:
        name = "ulSched" + std::to_string(i % 300);
        break;  // repeated names
      case 3:
        name = "mod" + std::to_string(i) + ".info";
        break;  // a group inside the name
      case 4:
        name = "x*" + std::to_string(i) + "[y]";
        break;
      default:
        name = "comp" + std::to_string(i % 997) + "_unit" + std::to_string(i);
        break;
    }
    r.traceObjects.push_back({static_cast<uint16_t>(i), static_cast<uint16_t>(i), name, 0});
  }
  auto provider = std::make_shared<BenchProvider>();
  provider->profiles.emplace(
      "DefaultProfile", kvntrace::Profile("DefaultProfile", {"*;*;*.check", "*;*;*.error",
                                                             "*;*;*.info", "*;*;*.interface"}));
  for (size_t p = 0; p < kProfiles; ++p) {
    std::vector<std::string> lines;
    for (size_t k = 0; lines.size() < 20; ++k) {
      const size_t v = p * 31 + k * 7;
      const std::string group = TraceGroupTable::name(v % TraceGroupTable::count());
      switch (k % 10) {
        case 0:
          lines.push_back("*;*;Obj" + std::to_string(v % 50) + "*." + group);
          break;
        case 1:
          lines.push_back("*;*;*.check");
          break;
        case 2:
          lines.push_back("MOKA*;1;a.b.*");
          break;
        case 3:
          lines.push_back("*;*;ulSched" + std::to_string(v % 300) + "." + group);
          break;
        case 4:
          lines.push_back("*;*;*_unit" + std::to_string(v % 10) + "." + group);
          break;
        case 5:
          lines.push_back("*;*;" + profileName((p + 1) % kProfiles));
          break;  // includes
        case 6:
          lines.push_back("OTHER;*;*." + group);
          break;  // filtered away on this agent
        case 7:
          lines.push_back("*;2;comp*." + group);
          break;  // wrong role
        case 8:
          lines.push_back("*;*;mod" + std::to_string(v) + ".info.*");
          break;
        default:
          lines.push_back("*;*;comp" + std::to_string(v % 997) + "_unit*.trace?");
          break;
      }
    }
    provider->profiles.emplace(profileName(p), kvntrace::Profile(profileName(p), lines));
  }
  r.profileProvider = provider;
  r.enabledProfiles = {"DefaultProfile"};
  r.traceObjectManager.id = 40;
  r.traceObjectManager.controller = std::make_shared<TraceObjectController>(kAgent, nullptr);
  return r;
}

// The rule as it reads: expand, then fnmatch every object's every group against every profile.
std::vector<TraceObjectMask> referenceGetChanges(DaxoRecord& r) {
  std::vector<uint32_t> before;
  for (TraceObjectEntry& e : r.traceObjects) {
    before.push_back(e.mask);
    e.mask = 0;
  }
  const std::vector<kvntrace::Profile> profiles =
      ProfileApplication::expandProfiles(r, r.enabledProfiles, *r.profileProvider);
  for (TraceObjectEntry& e : r.traceObjects) {
    uint32_t m = 0;
    for (const kvntrace::Profile& p : profiles)
      for (size_t i = 0; i < TraceGroupTable::count(); ++i)
        if (p.hasTraceProbe(e.name, TraceGroupTable::name(i))) m |= TraceGroupTable::bit(i);
    e.mask |= m;
  }
  const ManualTraceOverrides& o = r.traceToggler->overrides();
  for (TraceObjectEntry& e : r.traceObjects) {
    e.mask |= o.forcedOn(e.strId);
    e.mask &= ~o.forcedOff(e.strId);
  }
  std::vector<TraceObjectMask> changes;
  for (size_t i = 0; i < r.traceObjects.size(); ++i)
    if (r.traceObjects[i].mask != before[i])
      changes.push_back({r.traceObjects[i].strId, r.traceObjects[i].mask});
  return changes;
}

std::vector<uint32_t> masksOf(const DaxoRecord& r) {
  std::vector<uint32_t> m;
  for (const TraceObjectEntry& e : r.traceObjects) m.push_back(e.mask);
  return m;
}

// Both ways give the same masks for every object, for a few sets of profiles and a forced bit.
// The whole check runs the literal rule over every profile set, tens of seconds; the smoke run
// of the test suite checks the first two sets only.
bool sameResults(bool smoke) {
  DaxoRecord& r = buildAgent();
  r.traceToggler->overrides().set(3, 1u << 4, false);
  r.traceToggler->overrides().set(9, 1u << 9, true);
  const std::vector<std::set<std::string>> sets = {
      {"DefaultProfile"}, {"DefaultProfile", "Prof7"}, {"Prof150"}, {}, {"Prof0", "Prof99"}};
  const size_t count = smoke ? 2 : sets.size();
  for (size_t i = 0; i < count; ++i) {
    const auto& set = sets[i];
    r.enabledProfiles = set;
    r.traceObjectManager.controller->getChanges();
    const std::vector<uint32_t> fast = masksOf(r);
    referenceGetChanges(r);
    if (masksOf(r) != fast) {
      std::fprintf(stderr, "masks differ for a set of %zu profiles\n", set.size());
      return false;
    }
  }
  return true;
}

template <bool kFast>
void runManualToggle(benchmark::State& state) {
  DaxoRecord& r = buildAgent();
  TraceObjectController& c = *r.traceObjectManager.controller;
  c.getChanges();
  bool on = false;
  for (auto _ : state) {
    on = !on;
    r.traceToggler->overrides().set(1234, 1u << 6, on);
    const auto changes = kFast ? c.getChanges() : referenceGetChanges(r);
    if (changes.size() != 1) state.SkipWithError("one toggle must change one object");
    benchmark::DoNotOptimize(changes.data());
  }
}

template <bool kFast>
void runProfileEnable(benchmark::State& state) {
  DaxoRecord& r = buildAgent();
  TraceObjectController& c = *r.traceObjectManager.controller;
  c.getChanges();
  bool enabled = false;
  for (auto _ : state) {
    enabled = !enabled;
    if (enabled)
      r.enabledProfiles.insert("Prof42");
    else
      r.enabledProfiles.erase("Prof42");
    const auto changes = kFast ? c.getChanges() : referenceGetChanges(r);
    benchmark::DoNotOptimize(changes.data());
  }
}

template <bool kFast>
void runConnectBuild(benchmark::State& state) {
  DaxoRecord& r = buildAgent();
  for (auto _ : state) {
    // A new connection: a new controller with nothing learned yet.
    r.traceObjectManager.controller = std::make_shared<TraceObjectController>(kAgent, nullptr);
    TraceObjectController& c = *r.traceObjectManager.controller;
    if (kFast)
      c.getChanges();
    else
      referenceGetChanges(r);
    const auto all = c.getAll();
    benchmark::DoNotOptimize(all.data());
    for (TraceObjectEntry& e : r.traceObjects) e.mask = 0;
  }
}

void BM_ManualToggle_Reference(benchmark::State& s) { runManualToggle<false>(s); }
void BM_ManualToggle_Fast(benchmark::State& s) { runManualToggle<true>(s); }
void BM_ProfileEnable_Reference(benchmark::State& s) { runProfileEnable<false>(s); }
void BM_ProfileEnable_Fast(benchmark::State& s) { runProfileEnable<true>(s); }
void BM_ConnectBuild_Reference(benchmark::State& s) { runConnectBuild<false>(s); }
void BM_ConnectBuild_Fast(benchmark::State& s) { runConnectBuild<true>(s); }

BENCHMARK(BM_ManualToggle_Reference)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ManualToggle_Fast)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ProfileEnable_Reference)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ProfileEnable_Fast)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ConnectBuild_Reference)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ConnectBuild_Fast)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace kvn

int main(int argc, char** argv) {
  const bool smoke = kvn::bench::SmokeFlag::take(argc, argv);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  if (!kvn::sameResults(smoke)) return 1;
  using Ratio = kvn::bench::RatioReporter::Ratio;
  std::vector<Ratio> ratios;
  for (const std::string base : {"BM_ManualToggle", "BM_ProfileEnable", "BM_ConnectBuild"})
    ratios.push_back({base.substr(3) + " reference/fast", base + "_Reference", base + "_Fast"});
  kvn::bench::RatioReporter reporter(kvn::bench::RatioReporter::Clock::kCpu, ratios);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  kvn::DaxoTraceModel::resetAll();
  return 0;
}
