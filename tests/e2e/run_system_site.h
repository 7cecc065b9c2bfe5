#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/e2e/process.h"
#include "tests/e2e/pxm_hub.h"
#include "tests/e2e/run_dir.h"

namespace kvn::e2e {

// The site that scripts/run-system starts, as real processes in the run directory: the hub, the
// service, the diag handler simulator and the two agents MOKA/1 and MOKA/2 of examples/agents/,
// with the container built from examples/lmc/sample.json. What the README shows runs here.
class RunSystemSite {
 public:
  explicit RunSystemSite(const RunDir& dir);

  // False (with the reason in `error()`) when a program is missing or did not come up.
  bool ok() const { return error_.empty(); }
  const std::string& error() const { return error_; }

  // Runs `kvnsh` with `line` on its standard input, as typed at its prompt; gives the exit
  // status (that of the line's command) and sets `out` and `err`.
  int type(const std::string& line, std::string& out, std::string& err);
  // Runs `kvnsh <words>` to its end; gives the exit status and sets `out`.
  int shell(const std::vector<std::string>& words, std::string& out);

  // The top of the source tree, where README.md and examples/ are.
  static std::string sourceFile(const std::string& name);

 private:
  bool start(const std::string& name, const std::string& program, std::vector<std::string> args,
             Process::Env env = {});

  const RunDir& dir_;
  std::string error_;
  std::unique_ptr<PxmHub> hub_;
  std::vector<std::unique_ptr<Process>> processes_;
  int shellRuns_ = 0;
};

}  // namespace kvn::e2e
