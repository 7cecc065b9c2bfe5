#pragma once

#include <string>
#include <vector>

namespace kvn::e2e {

// A private temporary directory for one test: the processes' output files and the mailbox
// hub's run directory (PXM_RUNDIR) live in it. Removed with everything in it at the end,
// unless KVN_E2E_KEEP is set.
class RunDir {
 public:
  RunDir();
  ~RunDir();
  RunDir(const RunDir&) = delete;
  RunDir& operator=(const RunDir&) = delete;

  const std::string& path() const { return path_; }
  // What PXM_RUNDIR is set to in every child.
  std::string pxmRunDir() const { return path_ + "/pxm"; }
  std::string file(const std::string& name) const { return path_ + "/" + name; }
  // The whole content of a file in the directory, empty if there is none.
  std::string read(const std::string& name) const;

 private:
  std::string path_;
};

// The names in directory `dir` but for the hidden ones, none if it is not there.
std::vector<std::string> entries(const std::string& dir);

}  // namespace kvn::e2e
