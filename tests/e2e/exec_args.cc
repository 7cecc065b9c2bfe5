#include "tests/e2e/exec_args.h"

#include <unistd.h>

#include <cstdlib>
#include <iterator>
#include <sstream>

extern char** environ;

namespace kvn::e2e {

namespace {

// execve does not search PATH: a launcher named without a slash is looked up here, before the
// fork.
std::string onPath(const std::string& name) {
  if (name.find('/') != std::string::npos) return name;
  const char* path = std::getenv("PATH");
  std::istringstream dirs(path ? path : "");
  for (std::string dir; std::getline(dirs, dir, ':');) {
    const std::string candidate = (dir.empty() ? "." : dir) + "/" + name;
    if (::access(candidate.c_str(), X_OK) == 0) return candidate;
  }
  return name;
}

}  // namespace

ExecArgs::ExecArgs(const std::string& program, std::vector<std::string> args,
                   const std::map<std::string, std::string>& env)
    : args_(std::move(args)) {
  for (char** e = environ; *e != nullptr; ++e) {
    std::string entry = *e;
    if (env.count(entry.substr(0, entry.find('='))) == 0) envStrings_.push_back(entry);
  }
  for (const auto& [key, value] : env) envStrings_.push_back(key + "=" + value);
  for (auto& s : envStrings_) envp_.push_back(s.data());
  envp_.push_back(nullptr);

  args_.insert(args_.begin(), program);
  path_ = program;
  const char* launcher = std::getenv(kLauncherVariable);
  std::istringstream words(launcher ? launcher : "");
  std::vector<std::string> prefix{std::istream_iterator<std::string>(words), {}};
  if (!prefix.empty()) {
    path_ = onPath(prefix.front());
    args_.insert(args_.begin(), prefix.begin(), prefix.end());
  }
  for (auto& a : args_) argv_.push_back(a.data());
  argv_.push_back(nullptr);
}

}  // namespace kvn::e2e
