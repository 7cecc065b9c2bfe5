#include "tests/e2e/exec_args.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>

extern char** environ;

namespace kvn::e2e {

namespace {

// The ELF header's class, byte order and machine; empty for a file that is no ELF program.
std::string elfMachine(const std::string& path) {
  static constexpr char kMagic[] = {0x7f, 'E', 'L', 'F'};
  char head[20];
  std::ifstream in(path, std::ios::binary);
  if (!in.read(head, sizeof head) || std::memcmp(head, kMagic, sizeof kMagic) != 0) return {};
  return std::string(head + 4, 2) + std::string(head + 18, 2);
}

// The programs this tree builds are of the machine this test runs on; host tools (lttng) and
// scripts are not, and run as they stand.
bool builtHere(const std::string& program) {
  static const std::string self = elfMachine("/proc/self/exe");
  return !self.empty() && elfMachine(program) == self;
}

}  // namespace

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
  if (!prefix.empty() && builtHere(program)) {
    path_ = onPath(prefix.front());
    args_.insert(args_.begin(), prefix.begin(), prefix.end());
  }
  for (auto& a : args_) argv_.push_back(a.data());
  argv_.push_back(nullptr);
}

}  // namespace kvn::e2e
