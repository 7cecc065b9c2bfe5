#include "tests/e2e/state_system.h"

#include <sys/stat.h>

#include <fstream>
#include <sstream>

#include "tests/e2e/programs.h"

namespace kvn::e2e {

namespace {

const char* const kContainer = R"({
  "format_version": 1,
  "modules": [
    {"identity": "dsp1", "role": "dsp", "compression": 1, "text": "image 1\n"},
    {"role": "meta", "compression": 1, "metadata": {
      "load_module": "dsp1",
      "trace_objects": [{"name": "obj", "trace_id": 100}, {"name": "ulScheduler", "trace_id": 101},
                        {"name": "harqHandler", "trace_id": 102}],
      "utrace": [{"name": "ulScheduler.grant", "id": 1, "default": false},
                 {"name": "ulScheduler.alloc", "id": 2, "default": true},
                 {"name": "harqHandler.retx", "id": 3, "default": false}]}},
    {"role": "profiles", "compression": 1,
     "profiles": {"Scheduling": ["*;*;*Scheduler.trace1"]}}
  ]
})";

std::string agentDescription(const std::string& lmc) {
  return R"({"connect": "version", "version": 2, "bbmHwNumber": 1, "instanceName": "MOKA",)"
         R"( "domainDaxoIndex": 1, "roleIndex": 0, "loadModuleName": "dsp1", "lmcPath": ")" +
         lmc +
         R"(", "routines": [{"routineId": 40, "implements": "traceObjectManager"},)"
         R"( {"routineId": 41, "implements": "uniqueTraceManager"}]})";
}

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

}  // namespace

StateSystem::StateSystem(const RunDir& dir) : dir_(dir) {
  for (const char* program : {programs::kPxmd, programs::kTraceController, programs::kKvnsh,
                              programs::kDaxoSim, programs::kLmcTool}) {
    if (*program == '\0') {
      error_ = "a program of the system is not built";
      return;
    }
  }
  std::ofstream(dir.file("lmc.json")) << kContainer;
  Process pack(dir, "lmc-tool", programs::kLmcTool,
               {"pack", dir.file("agents.lmc"), "--from", dir.file("lmc.json")});
  if (pack.wait() != 0) {
    error_ = "lmc-tool pack failed: " + pack.err();
    return;
  }
  std::ofstream(dir.file("agent.json")) << agentDescription(dir.file("agents.lmc"));
  mkdir(stateDir().c_str(), 0755);
  hub_ = std::make_unique<PxmHub>(dir);
  if (!hub_->ok()) {
    error_ = "pxmd did not come up: " + hub_->process().err();
    return;
  }
  startService();
}

bool StateSystem::startService() {
  // Saved states go to the run directory, never to a shared /tmp.
  service_ =
      std::make_unique<Process>(dir_, "service" + std::to_string(++serviceRuns_),
                                programs::kTraceController, std::vector<std::string>{},
                                Process::Env{{"KVN_LOG_STDERR", "debug"}, {"LOG_DIR", stateDir()}});
  if (!eventually(
          [&] { return contains(service_->err(), "Mainloop starting") || !service_->running(); }) ||
      !service_->running()) {
    error_ = "the service did not come up: " + service_->err();
    return false;
  }
  return true;
}

bool StateSystem::startAgent(std::vector<std::string> options) {
  const std::string name = "agent" + std::to_string(++agentRuns_);
  std::vector<std::string> args = {"--journal", dir_.file(name + ".journal")};
  args.insert(args.end(), options.begin(), options.end());
  args.push_back(dir_.file("agent.json"));
  agent_ = std::make_unique<Process>(dir_, name, programs::kDaxoSim, args);
  return eventually([&] { return !journalLines("KVN_TRACEOBJECT_SETMASK_REQ").empty(); });
}

int StateSystem::shell(const std::vector<std::string>& words, std::string& out) {
  Process shell(dir_, "kvnsh" + std::to_string(++shellRuns_), programs::kKvnsh, words);
  const std::optional<int> status = shell.wait();
  out = shell.out();
  return status.value_or(-1);
}

std::vector<std::string> StateSystem::journalLines(const std::string& text) const {
  std::vector<std::string> out;
  std::istringstream in(dir_.read("agent" + std::to_string(agentRuns_) + ".journal"));
  for (std::string line; std::getline(in, line);)
    if (contains(line, text)) out.push_back(line);
  return out;
}

}  // namespace kvn::e2e
