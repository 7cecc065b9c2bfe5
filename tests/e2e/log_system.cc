#include "tests/e2e/log_system.h"

#include <fstream>
#include <sstream>

#include "tests/e2e/programs.h"

namespace kvn::e2e {

namespace {

const char* const kContainer = R"({
  "format_version": 1,
  "modules": [
    {"identity": "dsp1", "role": "dsp", "compression": 1, "text": "image 1\n"},
    {"identity": "dsp2", "role": "dsp", "compression": 1, "text": "image 2\n"},
    {"role": "meta", "compression": 1, "metadata": {
      "load_module": "dsp1",
      "trace_objects": [{"name": "obj", "trace_id": 100}, {"name": "ulScheduler", "trace_id": 101},
                        {"name": "harqHandler", "trace_id": 102}],
      "utrace": [{"name": "ulScheduler.grant", "id": 1, "default": false},
                 {"name": "ulScheduler.alloc", "id": 2, "default": true},
                 {"name": "harqHandler.retx", "id": 3, "default": false}]}},
    {"role": "meta", "compression": 1, "metadata": {
      "load_module": "dsp2",
      "trace_objects": [{"name": "obj", "trace_id": 200}, {"name": "other", "trace_id": 201}]}},
    {"role": "profiles", "compression": 1,
     "profiles": {"Scheduling": ["*;*;*Scheduler.trace1"]}}
  ]
})";

std::string agentDescription(int number, const std::string& lmc) {
  std::ostringstream d;
  d << R"({"connect": "version", "version": 2, "bbmHwNumber": )" << number
    << R"(, "instanceName": "MOKA", "domainDaxoIndex": )" << number
    << R"(, "roleIndex": 0, "loadModuleName": "dsp)" << number << R"(", "lmcPath": ")" << lmc
    << R"(", "routines": [{"routineId": 40, "implements": "traceObjectManager"},)"
    << R"( {"routineId": 41, "implements": "uniqueTraceManager"}]})";
  return d.str();
}

void write(const std::string& path, const std::string& text) { std::ofstream(path) << text; }

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

}  // namespace

LogSystem::LogSystem(const RunDir& dir) : dir_(dir) {
  for (const char* program : {programs::kPxmd, programs::kTraceController, programs::kKvnsh,
                              programs::kDaxoSim, programs::kLmcTool}) {
    if (*program == '\0') {
      error_ = "a program of the system is not built";
      return;
    }
  }
  write(dir.file("lmc.json"), kContainer);
  Process pack(dir, "lmc-tool", programs::kLmcTool,
               {"pack", dir.file("agents.lmc"), "--from", dir.file("lmc.json")});
  if (pack.wait() != 0) {
    error_ = "lmc-tool pack failed: " + pack.err();
    return;
  }
  for (int n = 1; n <= 2; ++n)
    write(dir.file("agent" + std::to_string(n) + ".json"),
          agentDescription(n, dir.file("agents.lmc")));
  hub_ = std::make_unique<PxmHub>(dir);
  if (!hub_->ok()) {
    error_ = "pxmd did not come up: " + hub_->process().err();
    return;
  }
  // Saved states go to the run directory, never to a shared /tmp.
  service_ = std::make_unique<Process>(
      dir, "service", programs::kTraceController, std::vector<std::string>{},
      Process::Env{{"KVN_LOG_STDERR", "debug"}, {"LOG_DIR", dir.path()}});
  if (!eventually(
          [&] { return contains(service_->err(), "Mainloop starting") || !service_->running(); }) ||
      !service_->running())
    error_ = "the service did not come up: " + service_->err();
}

bool LogSystem::startAgent(int number, std::vector<std::string> options) {
  const std::string name = "agent" + std::to_string(number);
  std::vector<std::string> args = {"--journal", dir_.file(name + ".journal")};
  args.insert(args.end(), options.begin(), options.end());
  args.push_back(dir_.file(name + ".json"));
  agents_[number - 1] = std::make_unique<Process>(dir_, name, programs::kDaxoSim, args);
  return eventually([&] { return !journalLines(number, "KVN_TRACEOBJECT_SETMASK_REQ").empty(); });
}

std::unique_ptr<Process> LogSystem::startLog(const std::vector<std::string>& args) {
  std::vector<std::string> words = {"zorf", "log"};
  words.insert(words.end(), args.begin(), args.end());
  return std::make_unique<Process>(dir_, "kvnsh" + std::to_string(++runs_), programs::kKvnsh,
                                   words);
}

int LogSystem::log(const std::vector<std::string>& args, std::string& out) {
  std::unique_ptr<Process> shell = startLog(args);
  const std::optional<int> status = shell->wait();
  out = shell->out();
  return status.value_or(-1);
}

std::vector<std::string> LogSystem::journal(int number) const {
  std::vector<std::string> lines;
  std::istringstream in(dir_.read("agent" + std::to_string(number) + ".journal"));
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

std::vector<std::string> LogSystem::journalLines(int number, const std::string& text) const {
  std::vector<std::string> out;
  for (const std::string& line : journal(number))
    if (contains(line, text)) out.push_back(line);
  return out;
}

}  // namespace kvn::e2e
