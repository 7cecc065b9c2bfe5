#pragma once

#include <map>
#include <string>
#include <vector>

namespace kvn::e2e {

// The argument and environment vectors of a program to exec, built before the fork so that the
// child only calls execve. The environment is this process's, with `env` added or replacing.
//
// When KVN_E2E_LAUNCHER is set (the cross build's tests: "qemu-arm -L <sysroot>"), its words
// come before a program of this test's own machine, and path() is the launcher's. Other
// programs, the host's tools, run as they stand.
class ExecArgs {
 public:
  ExecArgs(const std::string& program, std::vector<std::string> args,
           const std::map<std::string, std::string>& env);
  ExecArgs(const ExecArgs&) = delete;
  ExecArgs& operator=(const ExecArgs&) = delete;

  static constexpr const char* kLauncherVariable = "KVN_E2E_LAUNCHER";

  // What to hand execve as the file to run.
  const char* path() const { return path_.c_str(); }
  char* const* argv() { return argv_.data(); }
  char* const* envp() { return envp_.data(); }

 private:
  std::string path_;
  std::vector<std::string> args_;
  std::vector<std::string> envStrings_;
  std::vector<char*> argv_;
  std::vector<char*> envp_;
};

// The program `name` stands for: as it is when it holds a slash, else the first executable of
// that name on PATH, else `name` unchanged (execve does not search PATH).
std::string onPath(const std::string& name);

}  // namespace kvn::e2e
