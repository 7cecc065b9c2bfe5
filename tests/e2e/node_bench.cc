// The load of a full node: five simulated agents, each with a container of 20000 trace objects
// packed by lmc-tool, and a profile "Half" that matches half of them. Each figure is printed
// beside a baseline measured in this run, in this process, on the same containers:
//
// - connect: from the start of the five agents until all five have their models built and their
//   initial masks (the agents' first requests), against reading and parsing the five containers
//   alone (the trace object tables and the profiles, as a connect reads them);
// - enable and disable of "Half" on all five, answered by the agents, against the mask engine
//   alone on five like models;
// - `zorf log status` of all five, against rendering the same text alone;
// - the service's peak resident set, against its peak before any agent connected.
//
// Each step shows its wall time and the service's CPU time in it; the baselines are timed by
// the CPU time they use, which a loaded machine does not stretch.
//
//   node_bench [--objects N] [--rounds R]     (defaults 20000 and 3)

#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "service/agents/daxo_trace_model.h"
#include "service/tracecontrol/log_status_cmd_session.h"
#include "service/tracecontrol/trace_object_controller.h"
#include "service/tracecontrol/trace_toggler.h"
#include "tests/e2e/process.h"
#include "tests/e2e/programs.h"
#include "tests/e2e/test_system.h"
#include "tracetables/profile_provider.h"
#include "tracetables/trace_lmc_reader.h"

namespace {

using Clock = std::chrono::steady_clock;
using kvn::e2e::Process;

constexpr int kAgents = 5;
size_t g_objects = 20000;
int g_rounds = 3;

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

// Even objects are "ul", odd ones "dl": "Half" turns trace1 on for the ul half.
std::string objectName(size_t i) {
  return (i % 2 == 0 ? "ulComp" : "dlComp") + std::to_string(i % 997) + "_unit" + std::to_string(i);
}

std::string containerJson(size_t objects) {
  std::ostringstream j;
  j << R"({"format_version": 1, "modules": [)"
    << R"({"identity": "dsp", "role": "dsp", "compression": 1, "text": "image\n"},)"
    << R"({"role": "meta", "compression": 1, "metadata": {"load_module": "dsp", "trace_objects": [)";
  for (size_t i = 0; i < objects; ++i)
    j << (i ? "," : "") << R"({"name": ")" << objectName(i) << R"(", "trace_id": )" << i << "}";
  j << R"(]}}, {"role": "profiles", "compression": 1, "profiles": {"Half": ["*;*;ul*.trace1"]}}]})";
  return j.str();
}

std::string agentJson(int n, const std::string& lmcPath) {
  std::ostringstream d;
  d << R"({"connect": "version", "version": 3, "bbmHwNumber": )" << n
    << R"(, "instanceName": "MOKA", "domainDaxoIndex": )" << n
    << R"(, "roleIndex": 0, "loadModuleName": "dsp", "lmcPath": ")" << lmcPath
    << R"(", "routines": [{"routineId": 40, "implements": "traceObjectManager"}]})";
  return d.str();
}

// A field of /proc/<pid>/status, in kB; -1 when there is none.
long statusKb(pid_t pid, const char* field) {
  std::ifstream in("/proc/" + std::to_string(pid) + "/status");
  for (std::string line; std::getline(in, line);)
    if (line.compare(0, strlen(field), field) == 0) return atol(line.c_str() + strlen(field) + 1);
  return -1;
}

// CPU seconds the main thread of a process has used so far, to the nanosecond: the service
// does all its work on it.
double cpuSeconds(pid_t pid) {
  std::ifstream in("/proc/" + std::to_string(pid) + "/schedstat");
  unsigned long long ns = 0;
  in >> ns;
  return static_cast<double>(ns) * 1e-9;
}

// This thread's CPU seconds: the baselines run here, alone, and are timed by what they use, so
// that a loaded machine does not stretch them.
double threadCpuSeconds() {
  timespec ts{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
  return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

// A step of the node: its time as the operator sees it and the service's CPU time in it,
// against the CPU time of its baseline.
struct Figure {
  const char* label;
  std::vector<double> wall, service, baseline;

  template <typename Step>
  void measure(pid_t servicePid, Step step) {
    const double before = cpuSeconds(servicePid);
    wall.push_back(step());
    service.push_back(cpuSeconds(servicePid) - before);
  }
  template <typename Baseline>
  void measureBaseline(Baseline run) {
    const double before = threadCpuSeconds();
    baseline.push_back(run() ? threadCpuSeconds() - before : -1);
  }
};

double median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v.empty() ? 0 : v[v.size() / 2];
}

class Node {
 public:
  bool setUp() {
    if (!system_.ok()) return fail(system_.error());
    // The service as in the field: without the test system's debug log on standard error.
    system_.service().stop(SIGTERM);
    service_ = std::make_unique<Process>(
        dir_, "quiet-service", kvn::e2e::programs::kTraceController, std::vector<std::string>{},
        Process::Env{{"LOG_DIR", system_.stateDir()}});
    std::string info;
    if (!kvn::e2e::eventually([&] { return system_.shell({"zoth", "info"}, info) == 0; }))
      return fail("the quiet service did not come up");
    const std::string json = dir_.file("node.json");
    std::ofstream(json) << containerJson(g_objects);
    for (int n = 1; n <= kAgents; ++n) {
      const std::string lmc = lmcPath(n);
      Process pack(dir_, "pack" + std::to_string(n), kvn::e2e::programs::kLmcTool,
                   {"pack", lmc, "--from", json});
      if (pack.wait(std::chrono::seconds(60)) != 0) return fail("lmc-tool pack: " + pack.err());
      std::ofstream(agentFile(n)) << agentJson(n, lmc);
    }
    return true;
  }

  const std::string& error() const { return error_; }
  pid_t servicePid() const { return service_->pid(); }
  std::string lmcPath(int n) const { return dir_.file("node" + std::to_string(n) + ".lmc"); }

  // Starts the five agents afresh; the seconds until each has its initial masks, or -1.
  double connectAll() {
    for (auto& a : agents_) a.reset();  // their death drops them from the service
    const Clock::time_point start = Clock::now();
    for (int n = 1; n <= kAgents; ++n) {
      ++runs_;
      journals_[n - 1] =
          dir_.file("agent" + std::to_string(n) + "-" + std::to_string(runs_) + ".journal");
      agents_[n - 1] = std::make_unique<Process>(
          dir_, "agent" + std::to_string(n) + "-" + std::to_string(runs_),
          kvn::e2e::programs::kDaxoSim,
          std::vector<std::string>{"--journal", journals_[n - 1], agentFile(n)});
    }
    // The service sends the initial masks last in a connect.
    size_t seen[kAgents] = {};
    bool masked[kAgents] = {};
    const bool all = kvn::e2e::eventually(
        [&] {
          bool every = true;
          for (int i = 0; i < kAgents; ++i) {
            if (!masked[i]) masked[i] = journalHas(journals_[i], seen[i], kMasks);
            every = every && masked[i];
          }
          return every;
        },
        std::chrono::seconds(60));
    return all ? secondsSince(start) : -1;
  }

  // Seconds of one kvnsh command that must succeed, or -1; its output in `out`.
  double shell(const std::vector<std::string>& words, std::string& out) {
    const Clock::time_point start = Clock::now();
    const int rc = system_.shell(words, out);
    return rc == 0 ? secondsSince(start) : -1;
  }

 private:
  bool fail(const std::string& why) {
    error_ = why;
    return false;
  }
  std::string agentFile(int n) const {
    return dir_.file("node-agent" + std::to_string(n) + ".json");
  }

  // Whether the whole lines of the journal after `seen` bytes hold `text`; `seen` moves on.
  static bool journalHas(const std::string& path, size_t& seen, const char* text) {
    std::ifstream in(path, std::ios::binary);
    in.seekg(static_cast<std::streamoff>(seen));
    std::string more((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const size_t end = more.rfind('\n');
    if (end == std::string::npos) return false;
    seen += end + 1;
    return more.find(text) < end;
  }

  static constexpr const char* kMasks = "KVN_TRACEOBJECT_SETMASK_REQ";

  kvn::e2e::RunDir dir_;
  kvn::e2e::TestSystem system_{dir_};
  std::unique_ptr<Process> service_;
  std::unique_ptr<Process> agents_[kAgents];
  std::string journals_[kAgents];
  int runs_ = 0;
  std::string error_;
};

// What a connect reads of the five containers, alone: the models' trace object tables and
// the profiles. Built into this process's own model, which the other baselines use.
bool readContainers(Node& node) {
  for (uint16_t n = 1; n <= kAgents; ++n) {
    kvn::DaxoRecord& r = kvn::DaxoTraceModel::get(n);
    r = kvn::DaxoRecord();
    r.bbmHwNumber = n;
    r.instanceName = "MOKA";
    r.domainDaxoIndex = n;
    r.connected = true;
    kvntrace::TraceLmcReader reader(node.lmcPath(n));
    const kvntrace::TraceLmcReader::Hold hold(reader);
    const std::vector<std::string> names = reader.getTraceObjectNames("dsp");
    const std::vector<int32_t> ids = reader.getStrIdToTraceId("dsp");
    if (names.size() != ids.size() || names.size() != g_objects) return false;
    r.traceObjects.reserve(names.size());
    for (size_t i = 0; i < names.size(); ++i)
      r.traceObjects.push_back(
          {static_cast<uint16_t>(i), static_cast<uint16_t>(ids[i]), names[i], 0});
    auto provider = std::make_shared<kvntrace::ProfileProvider>(node.lmcPath(n));
    provider->populate();
    r.profileProvider = provider;
    r.enabledProfiles = {"DefaultProfile"};
    r.traceToggler = std::make_shared<kvn::TraceToggler>(n);
    r.traceObjectManager.id = 40;
    r.traceObjectManager.controller = std::make_shared<kvn::TraceObjectController>(n, nullptr);
    r.traceObjectManager.controller->getChanges();
  }
  return true;
}

// The mask engine alone: "Half" in or out of the enabled profiles of five models, and the
// masks worked out again.
bool maskEngine(bool enable) {
  size_t changed = 0;
  for (uint16_t n = 1; n <= kAgents; ++n) {
    kvn::DaxoRecord& r = kvn::DaxoTraceModel::get(n);
    if (enable)
      r.enabledProfiles.insert("Half");
    else
      r.enabledProfiles.erase("Half");
    changed += r.traceObjectManager.controller->getChanges().size();
  }
  return changed == kAgents * ((g_objects + 1) / 2);
}

bool renderStatus(size_t& bytes) {
  kvn::LogStatusCmdSession session({1, 2, 3, 4, 5}, false);
  bytes = session.render().size();
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  for (int i = 1; i + 1 < argc; i += 2) {
    if (strcmp(argv[i], "--objects") == 0) {
      g_objects = strtoul(argv[i + 1], nullptr, 10);
    } else if (strcmp(argv[i], "--rounds") == 0) {
      g_rounds = atoi(argv[i + 1]);
    } else {
      fprintf(stderr, "usage: node_bench [--objects N] [--rounds R]\n");
      return 2;
    }
  }
  if (g_objects == 0 || g_objects > 65535 || g_rounds < 1) {
    fprintf(stderr, "node_bench: 1 to 65535 objects, at least one round\n");
    return 2;
  }
  Node node;
  if (!node.setUp()) {
    fprintf(stderr, "node_bench: %s\n", node.error().c_str());
    return 1;
  }
  const long idlePeak = statusKb(node.servicePid(), "VmHWM:");

  Figure connect{"connect, models built", {}, {}, {}};
  Figure enable{"enable of the profile", {}, {}, {}};
  Figure disable{"disable of the profile", {}, {}, {}};
  Figure status{"log status", {}, {}, {}};
  size_t statusBytes = 0, renderedBytes = 0;
  std::string out;
  const pid_t service = node.servicePid();
  long modelsPeak = 0;  // before the first log status
  auto shell = [&](std::vector<std::string> words) {
    return [&node, &out, words] { return node.shell(words, out); };
  };
  for (int round = 0; round < g_rounds; ++round) {
    connect.measure(service, [&] { return node.connectAll(); });
    connect.measureBaseline([&] { return readContainers(node); });
    enable.measure(service, shell({"zorf", "log", "enable", "*", "Half"}));
    enable.measureBaseline([] { return maskEngine(true); });
    if (round == 0) modelsPeak = statusKb(service, "VmHWM:");
    status.measure(service, shell({"zorf", "log", "status"}));
    statusBytes = out.size();
    status.measureBaseline([&] { return renderStatus(renderedBytes); });
    disable.measure(service, shell({"zorf", "log", "disable", "*", "Half"}));
    disable.measureBaseline([] { return maskEngine(false); });
  }
  const long peak = statusKb(service, "VmHWM:");

  bool ok = true;
  printf("%d agents of %zu trace objects, all five at once, %d rounds; medians in seconds\n",
         kAgents, g_objects, g_rounds);
  printf("%-24s %8s %12s %14s %10s %10s\n", "", "wall", "service CPU", "baseline CPU", "wall/base",
         "CPU/base");
  for (const Figure* f : {&connect, &enable, &disable, &status}) {
    for (const std::vector<double>* v : {&f->wall, &f->baseline})
      for (double x : *v) ok = ok && x >= 0;
    const double wall = median(f->wall), cpu = median(f->service), base = median(f->baseline);
    printf("%-24s %8.3f %12.3f %14.4f %9.1fx %9.1fx\n", f->label, wall, cpu, base,
           base > 0 ? wall / base : 0.0, base > 0 ? cpu / base : 0.0);
  }
  printf("log status text: %zu bytes, %zu rendered alone\n", statusBytes, renderedBytes);
  printf("service peak RSS: %.1f MB against %.1f MB idle: %.1fx; %.1f MB before the first status\n",
         peak / 1024.0, idlePeak / 1024.0,
         idlePeak > 0 ? static_cast<double>(peak) / idlePeak : 0.0, modelsPeak / 1024.0);
  if (!ok) fprintf(stderr, "node_bench: a step failed (a figure of -1)\n");
  return ok ? 0 : 1;
}
