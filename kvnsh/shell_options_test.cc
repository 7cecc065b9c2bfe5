#include "kvnsh/shell_options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

namespace kvnsh {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Parsed {
  bool ok;
  ShellOptions options;
  std::string error;
};

Parsed parse(std::vector<const char*> argv, std::map<std::string, std::string> env = {}) {
  Parsed p;
  auto getenv = [&env](const char* name) -> const char* {
    auto it = env.find(name);
    return it == env.end() ? nullptr : it->second.c_str();
  };
  p.ok =
      ShellOptions::parse(static_cast<int>(argv.size()), argv.data(), getenv, &p.options, &p.error);
  return p;
}

TEST(ShellOptionsTest, OptionsStopAtTheFirstWord) {
  Parsed p = parse({"kvnsh", "-s", "svc", "--namespace=ns", "--output", "f.bin", "zorf", "--help"});
  ASSERT_TRUE(p.ok) << p.error;
  EXPECT_EQ(p.options.service, "svc");
  EXPECT_EQ(p.options.nameSpace, "ns");
  EXPECT_EQ(p.options.output, "f.bin");
  EXPECT_FALSE(p.options.help);
  EXPECT_THAT(p.options.words, ElementsAre("zorf", "--help"));

  p = parse({"kvnsh", "--", "-x"});
  ASSERT_TRUE(p.ok);
  EXPECT_THAT(p.options.words, ElementsAre("-x"));
  p = parse({"kvnsh"});
  ASSERT_TRUE(p.ok);
  EXPECT_THAT(p.options.words, IsEmpty());
  EXPECT_TRUE(parse({"kvnsh", "--help"}).options.help);
}

TEST(ShellOptionsTest, EnvironmentGivesDefaultsThatOptionsOverride) {
  Parsed p = parse({"kvnsh", "zoth"}, {{"KVNSH_SERVICE", "a"}, {"KVNSH_NAMESPACE", "n"}});
  EXPECT_EQ(p.options.service, "a");
  EXPECT_EQ(p.options.nameSpace, "n");
  p = parse({"zomlek", "dspload"}, {{"KVNSH_SERVICE", "a"}});
  EXPECT_EQ(p.options.service, "a");
  p = parse({"kvnsh", "--service", "b"}, {{"KVNSH_SERVICE", "a"}});
  EXPECT_EQ(p.options.service, "b");
}

TEST(ShellOptionsTest, BadOptions) {
  Parsed p = parse({"kvnsh", "--bogus", "zoth"});
  EXPECT_FALSE(p.ok);
  EXPECT_EQ(p.error, "unknown option '--bogus'");
  p = parse({"kvnsh", "--service"});
  EXPECT_FALSE(p.ok);
  EXPECT_EQ(p.error, "option --service needs a value");
  EXPECT_FALSE(parse({"kvnsh", "--service="}).ok);
}

}  // namespace
}  // namespace kvnsh
