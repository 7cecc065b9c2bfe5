// zoth profile against the real service: the profiles of an agent's container.
#include <gtest/gtest.h>

#include <string>

#include "tests/e2e/test_system.h"

namespace kvn::e2e {
namespace {

TEST(ProfileCommandTest, ListsTheContainersProfilesAndTheirProbes) {
  RunDir dir;
  TestSystem system(dir);
  ASSERT_TRUE(system.ok()) << system.error();
  std::string out;
  EXPECT_EQ(system.shell({"zoth", "profile", "list"}, out), 1) << "no agent yet";
  EXPECT_EQ(out.rfind("No connected DAXO matched", 0), 0u) << out;
  ASSERT_TRUE(system.startAgent(1)) << system.agent(1).err();
  EXPECT_EQ(system.shell({"zoth", "profile", "list"}, out), 0);
  EXPECT_EQ(out, "Profiles:\nDefaultProfile\nScheduling\n");
  EXPECT_EQ(system.shell({"zoth", "profile", "list", "Sched*", "-v"}, out), 0);
  EXPECT_EQ(out,
            "Profiles:\nScheduling\nInstance            Role                Trace point or "
            "profile\n*                   *                   *Scheduler.trace1\n\n");
  EXPECT_EQ(system.shell({"zoth", "profile", "list", "x"}, out), 1);
  EXPECT_EQ(out.rfind("Could not find profile with name x\n", 0), 0u) << out;
}

}  // namespace
}  // namespace kvn::e2e
