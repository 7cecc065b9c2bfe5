#pragma once
// A pxmd of a test's own: a fresh run directory (PXM_RUNDIR is set to it for the test
// process and its children), the hub started from it, and on destruction the hub stopped and
// reaped and the directory removed, also when the test fails.

#include <sys/types.h>

#include <string>
#include <vector>

namespace pxm::testing {

class TestHub {
 public:
  // `pxmdPath` is the hub program, started with `args`; `start` false only makes the directory.
  explicit TestHub(const std::string& pxmdPath, bool start = true,
                   const std::vector<std::string>& args = {});
  ~TestHub();
  TestHub(const TestHub&) = delete;
  TestHub& operator=(const TestHub&) = delete;

  bool running() const { return pid_ > 0; }
  const std::string& runDir() const { return dir_; }
  std::string socketPath() const;
  // SIGTERM and reap; false when it did not end by itself within the bound.
  bool stop();

 private:
  std::string dir_;
  pid_t pid_ = -1;
};

}  // namespace pxm::testing
