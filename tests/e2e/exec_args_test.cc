#include "tests/e2e/exec_args.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <optional>

namespace kvn::e2e {
namespace {

std::vector<std::string> strings(char* const* v) {
  std::vector<std::string> out;
  for (; *v != nullptr; ++v) out.emplace_back(*v);
  return out;
}

TEST(ExecArgsTest, LauncherWordsGoBeforeTheProgramAndItsPathIsSearched) {
  const char* old = std::getenv(ExecArgs::kLauncherVariable);
  const std::optional<std::string> saved = old ? std::optional<std::string>(old) : std::nullopt;

  ::unsetenv(ExecArgs::kLauncherVariable);
  ExecArgs plain("/x/prog", {"a"}, {{"K", "v"}});
  EXPECT_STREQ(plain.path(), "/x/prog");
  EXPECT_EQ(strings(plain.argv()), (std::vector<std::string>{"/x/prog", "a"}));

  ::setenv(ExecArgs::kLauncherVariable, " sh  -L /sysroot ", 1);
  ExecArgs launched("/x/prog", {"a"}, {{"K", "v"}});
  const std::string sh = launched.path();
  EXPECT_EQ(sh.front(), '/');
  EXPECT_EQ(sh.substr(sh.size() - 3), "/sh");
  EXPECT_EQ(strings(launched.argv()),
            (std::vector<std::string>{"sh", "-L", "/sysroot", "/x/prog", "a"}));
  const auto env = strings(launched.envp());
  EXPECT_NE(std::find(env.begin(), env.end(), "K=v"), env.end());

  if (saved) {
    ::setenv(ExecArgs::kLauncherVariable, saved->c_str(), 1);
  } else {
    ::unsetenv(ExecArgs::kLauncherVariable);
  }
}

}  // namespace
}  // namespace kvn::e2e
