#pragma once

#include <memory>
#include <string>

#include "tests/e2e/process.h"
#include "tests/e2e/run_dir.h"

namespace kvn::e2e {

// The mailbox hub of a test, running as a real pxmd in the run directory. The constructor
// returns once the hub's socket exists; ok() says whether it came up.
class PxmHub {
 public:
  explicit PxmHub(const RunDir& dir, const std::string& nameSpace = "default");

  bool ok() const { return ok_; }
  std::string socketPath() const { return socketPath_; }
  Process& process() { return *process_; }

 private:
  std::string socketPath_;
  std::unique_ptr<Process> process_;
  bool ok_ = false;
};

}  // namespace kvn::e2e
