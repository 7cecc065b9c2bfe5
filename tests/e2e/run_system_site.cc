#include "tests/e2e/run_system_site.h"

#include <sys/stat.h>

#include <fstream>
#include <utility>

#include "tests/e2e/programs.h"

namespace kvn::e2e {

std::string RunSystemSite::sourceFile(const std::string& name) {
  return std::string(KVN_SOURCE_DIR) + "/" + name;
}

RunSystemSite::RunSystemSite(const RunDir& dir) : dir_(dir) {
  for (const char* program : {programs::kPxmd, programs::kTraceController, programs::kKvnsh,
                              programs::kDaxoSim, programs::kDiagSim, programs::kLmcTool}) {
    if (*program == '\0') {
      error_ = "a program of the site is not built";
      return;
    }
  }
  const std::string container = dir.file("sample.lmc");
  Process pack(dir, "lmc-tool", programs::kLmcTool,
               {"pack", container, "--from", sourceFile("examples/lmc/sample.json")});
  if (pack.wait() != 0) {
    error_ = "lmc-tool pack failed: " + pack.err();
    return;
  }
  hub_ = std::make_unique<PxmHub>(dir);
  if (!hub_->ok()) {
    error_ = "pxmd did not come up: " + hub_->process().err();
    return;
  }
  // Saved states go to the run directory, never to a shared /tmp. The service logs its routine
  // table's usage at info once its loop runs.
  mkdir(dir.file("state").c_str(), 0755);
  if (!start("service", programs::kTraceController, {},
             {{"KVN_LOG_STDERR", "info"}, {"LOG_DIR", dir.file("state")}}) ||
      !eventually([&] { return contains(dir.read("service.err"), "Routine table: "); })) {
    error_ = "the service did not come up: " + dir.read("service.err");
    return;
  }
  // The diag handler's hello reaches the service before any agent's connect, so that the
  // destinations have their TSI proxy when the first command comes.
  if (!start("diag-sim", programs::kDiagSim,
             {"--journal", dir.file("diag.journal"), "--sessions-dir", dir.path()}) ||
      !eventually([&] { return contains(dir.read("diag.journal"), "hello_sent"); })) {
    error_ = "diag-sim did not come up: " + dir.read("diag-sim.err");
    return;
  }
  for (const std::string agent : {"moka-1", "moka-2"}) {
    const std::string journal = agent + ".journal";
    if (!start(agent, programs::kDaxoSim,
               {"--lmc-path", container, "--journal", dir.file(journal), "--sessions-dir",
                dir.path(), sourceFile("examples/agents/" + agent + ".json")}) ||
        !eventually([&] { return contains(dir.read(journal), "KVN_TRACEOBJECT_SETMASK_REQ"); })) {
      error_ = agent + " did not connect: " + dir.read(agent + ".err");
      return;
    }
  }
}

bool RunSystemSite::start(const std::string& name, const std::string& program,
                          std::vector<std::string> args, Process::Env env) {
  processes_.push_back(
      std::make_unique<Process>(dir_, name, program, std::move(args), std::move(env)));
  return processes_.back()->running();
}

int RunSystemSite::type(const std::string& line, std::string& out, std::string& err) {
  const std::string name = "kvnsh" + std::to_string(++shellRuns_);
  std::ofstream(dir_.file(name + ".in")) << line << "\n";
  // The shell reads the line from a file as it would at its prompt, through the emulator of a
  // cross build when there is one.
  Process shell(
      dir_, name, "/bin/sh",
      {"-c", "exec $KVN_E2E_LAUNCHER \"$0\" < \"$1\"", programs::kKvnsh, dir_.file(name + ".in")});
  const std::optional<int> status = shell.wait();
  out = shell.out();
  err = shell.err();
  return status.value_or(-1);
}

int RunSystemSite::shell(const std::vector<std::string>& words, std::string& out) {
  Process shell(dir_, "kvnsh" + std::to_string(++shellRuns_), programs::kKvnsh, words);
  const std::optional<int> status = shell.wait();
  out = shell.out();
  return status.value_or(-1);
}

}  // namespace kvn::e2e
