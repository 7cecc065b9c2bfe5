#include "tests/e2e/exec_args.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <optional>

namespace kvn::e2e {
namespace {

std::vector<std::string> strings(char* const* v) {
  std::vector<std::string> out;
  for (; *v != nullptr; ++v) out.emplace_back(*v);
  return out;
}

TEST(ExecArgsTest, LauncherGoesBeforeProgramsOfThisMachineOnly) {
  const char* old = std::getenv(ExecArgs::kLauncherVariable);
  const std::optional<std::string> saved = old ? std::optional<std::string>(old) : std::nullopt;
  const std::string self = "/proc/self/exe";

  ::unsetenv(ExecArgs::kLauncherVariable);
  ExecArgs plain(self, {"a"}, {{"K", "v"}});
  EXPECT_EQ(plain.path(), self);
  EXPECT_EQ(strings(plain.argv()), (std::vector<std::string>{self, "a"}));

  ::setenv(ExecArgs::kLauncherVariable, " sh  -L /sysroot ", 1);
  ExecArgs launched(self, {"a"}, {{"K", "v"}});
  const std::string sh = launched.path();
  EXPECT_EQ(sh.front(), '/');
  EXPECT_EQ(sh.substr(sh.size() - 3), "/sh");
  EXPECT_EQ(strings(launched.argv()),
            (std::vector<std::string>{"sh", "-L", "/sysroot", self, "a"}));
  const auto env = strings(launched.envp());
  EXPECT_NE(std::find(env.begin(), env.end(), "K=v"), env.end());

  // No ELF program of this machine: a host tool or a script.
  const std::string script = std::string(::testing::TempDir()) + "exec_args_script";
  std::ofstream(script) << "#!/bin/sh\n";
  ExecArgs host(script, {}, {});
  EXPECT_EQ(host.path(), script);
  EXPECT_EQ(strings(host.argv()), std::vector<std::string>{script});
  std::remove(script.c_str());

  saved ? ::setenv(ExecArgs::kLauncherVariable, saved->c_str(), 1)
        : ::unsetenv(ExecArgs::kLauncherVariable);
}

}  // namespace
}  // namespace kvn::e2e
