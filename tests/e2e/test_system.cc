#include "tests/e2e/test_system.h"

#include <signal.h>
#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <utility>

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
      "formats": ["obj %d", "ulScheduler: ue %d prb %d", "harqHandler: process %d"],
      "utrace": [{"name": "ulScheduler.grant", "id": 1, "default": false},
                 {"name": "ulScheduler.alloc", "id": 2, "default": true},
                 {"name": "harqHandler.retx", "id": 3, "default": false}],
      "trace_strings": ["boot done", "grant for ue %d: %d prbs", "alloc of %u bytes"]}},
    {"role": "meta", "compression": 1, "metadata": {
      "load_module": "dsp2",
      "trace_objects": [{"name": "obj", "trace_id": 200}, {"name": "other", "trace_id": 201}]}},
    {"role": "profiles", "compression": 1,
     "profiles": {"Scheduling": ["*;*;*Scheduler.trace1"]}}
  ]
})";

void write(const std::string& path, const std::string& text) { std::ofstream(path) << text; }

}  // namespace

TestSystem::TestSystem(const RunDir& dir, std::string serviceLog)
    : dir_(dir), serviceLog_(std::move(serviceLog)) {
  for (const char* program : {programs::kPxmd, programs::kTraceController, programs::kKvnsh,
                              programs::kDaxoSim, programs::kLmcTool}) {
    if (*program == '\0') {
      error_ = "a program of the system is not built";
      return;
    }
  }
  write(dir.file("lmc.json"), kContainer);
  Process pack(dir, "lmc-tool", programs::kLmcTool,
               {"pack", containerFile(), "--from", dir.file("lmc.json")});
  if (pack.wait() != 0) {
    error_ = "lmc-tool pack failed: " + pack.err();
    return;
  }
  for (int n = 1; n <= kAgents; ++n) describeAgent(n, "");
  mkdir(stateDir().c_str(), 0755);
  hub_ = std::make_unique<PxmHub>(dir);
  if (!hub_->ok()) {
    error_ = "pxmd did not come up: " + hub_->process().err();
    return;
  }
  startService();
}

bool TestSystem::startService(std::vector<std::string> options) {
  // Saved states go to the run directory, never to a shared /tmp.
  service_ = std::make_unique<Process>(
      dir_, "service" + std::to_string(++serviceRuns_), programs::kTraceController,
      std::move(options), Process::Env{{"KVN_LOG_STDERR", serviceLog_}, {"LOG_DIR", stateDir()}});
  slotsSeen_ = 0;
  slotLines_ = 0;
  // The loop logs its usage once when it starts, at info.
  if (!eventually(
          [&] { return contains(service_->err(), "Routine table: ") || !service_->running(); }) ||
      !service_->running()) {
    error_ = "the service did not come up: " + service_->err();
    return false;
  }
  return true;
}

void TestSystem::readSlotLines() {
  static const std::string kLine = "Routine table: ";
  // The log may be long: read on from where the last call stopped.
  std::ifstream in(dir_.file("service" + std::to_string(serviceRuns_) + ".err"));
  in.seekg(static_cast<std::streamoff>(slotsSeen_));
  for (std::string line; std::getline(in, line);) {
    if (in.eof()) break;  // a line still being written
    slotsSeen_ += line.size() + 1;
    const size_t at = line.find(kLine);
    if (at == std::string::npos) continue;
    ++slotLines_;
    lastSlots_ = std::atoi(line.c_str() + at + kLine.size());
  }
}

int TestSystem::usedSlots() {
  readSlotLines();
  const int before = slotLines_;
  service_->signal(SIGUSR1);
  const bool answered = eventually([&] {
    readSlotLines();
    return slotLines_ > before;
  });
  return answered ? lastSlots_ : -1;
}

int TestSystem::settledSlots() {
  int slots = -1;
  const bool settled = eventually([&] {
    const int before = slots;
    return (slots = usedSlots()) == before && slots >= 0;
  });
  return settled ? slots : -1;
}

void TestSystem::describeAgent(int number, const std::string& moreRoutines,
                               const std::string& moreFields) {
  std::ostringstream d;
  d << R"({"connect": "version", "version": 3, "bbmHwNumber": )" << number
    << R"(, "instanceName": "MOKA", "domainDaxoIndex": )" << number
    << R"(, "roleIndex": 0, "loadModuleName": "dsp)" << (number == 2 ? 2 : 1)
    << R"(", "lmcPath": ")" << containerFile()
    << R"(", "routines": [{"routineId": 40, "implements": "traceObjectManager"},)"
    << R"( {"routineId": 41, "implements": "uniqueTraceManager"})"
    << (moreRoutines.empty() ? "" : ", " + moreRoutines) << "]"
    << (moreFields.empty() ? "" : ", " + moreFields) << "}";
  write(agentFile(number), d.str());
}

std::string TestSystem::agentFile(int number) const {
  return dir_.file("agent" + std::to_string(number) + ".json");
}

std::string TestSystem::journalName(int number) const {
  return "agent" + std::to_string(number) + "-" + std::to_string(agentRuns_[number - 1]) +
         ".journal";
}

bool TestSystem::startAgent(int number, std::vector<std::string> options) {
  ++agentRuns_[number - 1];
  std::vector<std::string> args = {"--journal", dir_.file(journalName(number))};
  args.insert(args.end(), options.begin(), options.end());
  args.push_back(agentFile(number));
  agents_[number - 1] = std::make_unique<Process>(
      dir_, "agent" + std::to_string(number) + "-" + std::to_string(agentRuns_[number - 1]),
      programs::kDaxoSim, args);
  return eventually([&] { return !journalLines(number, "KVN_TRACEOBJECT_SETMASK_REQ").empty(); });
}

std::unique_ptr<Process> TestSystem::startShell(const std::vector<std::string>& words) {
  return std::make_unique<Process>(dir_, "kvnsh" + std::to_string(++shellRuns_), programs::kKvnsh,
                                   words);
}

int TestSystem::shell(const std::vector<std::string>& words, std::string& out) {
  std::unique_ptr<Process> shell = startShell(words);
  const std::optional<int> status = shell->wait();
  out = shell->out();
  return status.value_or(-1);
}

std::vector<std::string> TestSystem::journalLines(int number, const std::string& text) const {
  std::vector<std::string> out;
  std::istringstream in(dir_.read(journalName(number)));
  for (std::string line; std::getline(in, line);)
    if (contains(line, text)) out.push_back(line);
  return out;
}

}  // namespace kvn::e2e
