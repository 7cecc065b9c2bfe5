#include "tests/e2e/exec_args.h"

extern char** environ;

namespace kvn::e2e {

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
  for (auto& a : args_) argv_.push_back(a.data());
  argv_.push_back(nullptr);
}

}  // namespace kvn::e2e
