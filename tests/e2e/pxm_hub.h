#pragma once

#include <signal.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/e2e/process.h"
#include "tests/e2e/run_dir.h"

namespace kvn::e2e {

// The mailbox hub of a test, running as a real pxmd in the run directory, started with `args`
// beside the namespace. The constructor returns once the hub takes connections; ok() says
// whether it came up.
class PxmHub {
 public:
  explicit PxmHub(const RunDir& dir, const std::string& nameSpace = "default",
                  std::vector<std::string> args = {});

  bool ok() const { return ok_; }
  std::string socketPath() const { return socketPath_; }
  Process& process() { return *process_; }

 private:
  std::string socketPath_;
  std::unique_ptr<Process> process_;
  bool ok_ = false;
};

// A run directory with a hub that the test process itself uses through libpxm: its own
// PXM_RUNDIR points there from construction on. `start` false leaves the directory without a
// hub.
class OwnHub {
 public:
  explicit OwnHub(std::vector<std::string> args = {}, bool start = true);

  bool running() const { return hub_ && hub_->ok() && hub_->process().running(); }
  const RunDir& dir() const { return dir_; }
  std::string runDir() const { return dir_.pxmRunDir(); }
  std::string socketPath() const { return runDir() + "/default.hub"; }
  // SIGTERM; true when the hub ended by itself with status 0.
  bool stop() { return hub_ && hub_->process().stop(SIGTERM) == 0; }

 private:
  RunDir dir_;
  std::unique_ptr<PxmHub> hub_;
};

}  // namespace kvn::e2e
