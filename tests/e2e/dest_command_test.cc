// zoth dest and the diag handler link with real processes: the hub, the service, kvnsh and the
// diag handler simulator.
#include <gtest/gtest.h>
#include <signal.h>

#include <memory>
#include <string>

#include "tests/e2e/process.h"
#include "tests/e2e/programs.h"
#include "tests/e2e/test_system.h"

namespace kvn::e2e {
namespace {

TEST(DestCommandTest, AddedDestinationIsListed) {
  RunDir dir;
  TestSystem system(dir);
  ASSERT_TRUE(system.ok()) << system.error();
  std::string out;
  EXPECT_EQ(system.shell({"zoth", "dest", "list"}, out), 0);
  EXPECT_EQ(out, "No destinations are defined\n");
  EXPECT_EQ(
      system.shell({"zoth", "dest", "add", "net1", "127.0.0.1", "5000", "ManagedElement=1"}, out),
      0)
      << out;
  EXPECT_EQ(system.shell({"zoth", "dest", "list"}, out), 0);
  EXPECT_EQ(out,
            "Trace destinations\n\n"
            "Name                               IP Address                               Port  "
            "Max stream rate [kb/s]  LDN\n"
            "net1                               127.0.0.1                                5000  "
            "100000000               ManagedElement=1\n");
  EXPECT_EQ(system.shell({"zoth", "dest", "del", "net1"}, out), 0) << out;
  EXPECT_EQ(system.shell({"zoth", "dest", "del", "net1"}, out), 1);
  EXPECT_EQ(out, "Destination name not found\n");
}

TEST(DestCommandTest, TheDiagHandlerLinkFallsWithTheSimulatorAndComesBackWithIt) {
  if (*programs::kDiagSim == '\0') GTEST_SKIP() << "diag-sim is not built";
  RunDir dir;
  TestSystem system(dir);
  ASSERT_TRUE(system.ok()) << system.error();
  const auto startDiag = [&](int run) {
    return std::make_unique<Process>(
        dir, "diag" + std::to_string(run), programs::kDiagSim,
        std::vector<std::string>{"--journal", dir.file("diag" + std::to_string(run) + ".journal")});
  };
  const auto replied = [&](int run) {
    return contains(dir.read("diag" + std::to_string(run) + ".journal"),
                    R"("instanceName":"kvn-tracecontroller","name":"HELLO_REPLY")");
  };
  std::unique_ptr<Process> diag = startDiag(1);
  ASSERT_TRUE(eventually([&] { return replied(1); })) << dir.read("diag1.journal");
  EXPECT_TRUE(contains(dir.read("diag1.journal"), R"("word":2)"));

  diag->signal(SIGKILL);
  diag->wait();
  EXPECT_TRUE(eventually([&] {
    return contains(system.service().err(), "DiagHandler disconnected");
  })) << system.service().err();

  diag = startDiag(2);
  EXPECT_TRUE(eventually([&] { return replied(2); })) << dir.read("diag2.journal");
}

}  // namespace
}  // namespace kvn::e2e
