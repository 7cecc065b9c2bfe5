// zoth route with real processes: the hub, the service, kvnsh, an agent simulator with the memory
// buffer, its forwarders and a trace destination routine, and the diag handler simulator; what
// the agent streams to a network destination arrives as UDP datagrams at a socket of the test.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <thread>

#include "tests/e2e/process.h"
#include "tests/e2e/programs.h"
#include "tests/e2e/test_system.h"

namespace kvn::e2e {
namespace {

// A UDP socket on 127.0.0.1, read without waiting.
class UdpReceiver {
 public:
  UdpReceiver() : fd_(socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof a;
    if (bind(fd_, reinterpret_cast<sockaddr*>(&a), len) == 0 &&
        getsockname(fd_, reinterpret_cast<sockaddr*>(&a), &len) == 0)
      port_ = ntohs(a.sin_port);
  }
  ~UdpReceiver() { close(fd_); }
  uint16_t port() const { return port_; }
  // The datagrams that have arrived since the last call.
  int take() {
    char buf[2048];
    int n = 0;
    while (recv(fd_, buf, sizeof buf, 0) >= 0) ++n;
    return n;
  }

 private:
  int fd_;
  uint16_t port_ = 0;
};

class RouteCommandTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (*programs::kDiagSim == '\0') GTEST_SKIP() << "diag-sim is not built";
    ASSERT_TRUE(system.ok()) << system.error();
    // The buffer fills (three rtt sources at 20000 words/s each) faster than it drains
    // (30000 words/s): a stream goes round its full-and-drain cycle about once a second.
    system.describeAgent(
        1,
        R"({"routineId": 10, "implements": "embuf"}, {"routineId": 11, "implements": "memoryBuffer"},)"
        R"( {"routineId": 12, "implements": "traceDest"},)"
        R"( {"routineId": 22, "implements": "forwarder", "link": {"source": "RTT", "destination": "EMBUF"}},)"
        R"( {"routineId": 23, "implements": "forwarder", "linkCount": 2, "link": {"source": "EMBUF", "destination": "TN"}},)"
        R"( {"routineId": 24, "implements": "forwarder", "link": {"source": "EMBUF", "destination": "EBCOM"}})",
        R"("superTrace": {"bufferWords": 20000, "producerRate": 20000, "consumerRate": 30000},)"
        R"( "traceDest": {"socketId": 5})");
    ASSERT_TRUE(system.startAgent(1, {"--sessions-dir", dir.path()}));
  }

  void startDiag(std::vector<std::string> options = {}) {
    ++diagRuns;
    const std::string journal = "diag" + std::to_string(diagRuns) + ".journal";
    options.insert(options.end(), {"--journal", dir.file(journal), "--sessions-dir", dir.path()});
    diag = std::make_unique<Process>(dir, "diag" + std::to_string(diagRuns), programs::kDiagSim,
                                     options);
    ASSERT_TRUE(eventually([&] { return contains(dir.read(journal), "HELLO_REPLY"); }))
        << dir.read(journal);
  }

  size_t journalCount(const std::string& text) { return system.journalLines(1, text).size(); }

  RunDir dir;
  TestSystem system{dir};
  std::unique_ptr<Process> diag;
  int diagRuns = 0;
};

TEST_F(RouteCommandTest, AStreamToANetworkDestinationArrivesOverUdpAndStopsWhenRoutedBack) {
  startDiag();
  std::string out;
  EXPECT_EQ(system.shell({"zoth", "route", "1:rtt", "embuf"}, out), 0) << out;
  EXPECT_EQ(out, "");
  EXPECT_EQ(system.shell({"zoth", "info", "-v"}, out), 0);
  EXPECT_TRUE(contains(out, "      RTT -> EMBUF (Id: 22) [1] *\n")) << out;
  EXPECT_TRUE(contains(out, "      EMBUF -> TN (Id: 23) [2]\n")) << out;

  UdpReceiver rx;
  ASSERT_NE(rx.port(), 0);
  ASSERT_EQ(system.shell({"zoth", "dest", "add", "net1", "127.0.0.1", std::to_string(rx.port()),
                          "ManagedElement=1"},
                         out),
            0)
      << out;
  EXPECT_EQ(system.shell({"zoth", "route", "1:embuf", "net1"}, out), 0) << out;
  EXPECT_EQ(out, "Streaming started\n");
  EXPECT_EQ(journalCount(R"("socket":5)"), 2u) << "both links on the opened socket";
  EXPECT_TRUE(eventually([&] { return rx.take() > 0; })) << "no datagram arrived";
  EXPECT_TRUE(contains(dir.read("agent1-1.journal"), R"("sourceMask":14)"));

  // The buffer fills, the producers stop, it drains and they start again.
  EXPECT_TRUE(eventually([&] {
    return journalCount("producers_stopped") >= 1 && journalCount("buffer_empty") >= 1 &&
           journalCount(R"("producers":"started")") >= 2;
  })) << dir.read("agent1-1.journal");

  // Back to a fixed destination: the stream stops, the session goes, and a new stream starts
  // that sends nothing over the network.
  EXPECT_EQ(system.shell({"zoth", "route", "1:embuf", "ebcom"}, out), 0) << out;
  EXPECT_EQ(out, "Streaming started\n");
  EXPECT_GE(journalCount("consumer_stopped"), 1u);
  EXPECT_TRUE(eventually(
      [&] { return contains(dir.read("diag1.journal"), "KVN_TSI_PROXY_DELETE_UDP_SESSION_IND"); }));
  rx.take();
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_EQ(rx.take(), 0);
  EXPECT_EQ(system.shell({"zoth", "info", "-v"}, out), 0);
  EXPECT_TRUE(contains(out, "      EMBUF -> EBCOM (Id: 24) [1] *\n")) << out;
  EXPECT_TRUE(contains(out, "      EMBUF -> TN (Id: 23) [2]\n")) << out;
}

TEST_F(RouteCommandTest, DiagHandlerKilledMidSetUpEndsTheRouteAndItWorksOnceItIsBack) {
  const char* const notConnected =
      "Route action failed with TN setup error: Failed to create UDP session towards TSI "
      "proxy: DiagHandler is not connected.\n";
  const int idle = system.settledSlots();
  ASSERT_GE(idle, 0);
  startDiag({"--reply-delay-ms", "5000"});
  std::string out;
  ASSERT_EQ(
      system.shell({"zoth", "dest", "add", "net1", "127.0.0.1", "9", "ManagedElement=1"}, out), 0)
      << out;
  std::unique_ptr<Process> route = system.startShell({"zoth", "route", "1:embuf", "net1"});
  ASSERT_TRUE(eventually([&] {
    return contains(dir.read("diag1.journal"), "KVN_TSI_PROXY_CREATE_UDP_SESSION_REQ");
  })) << dir.read("diag1.journal");
  diag->signal(SIGKILL);
  EXPECT_EQ(route->wait(), 1);
  EXPECT_EQ(route->out(), notConnected);
  EXPECT_TRUE(eventually([&] { return system.usedSlots() == idle; }))
      << "used " << system.usedSlots() << ", at start " << idle;

  // While it is gone a route fails at once; once it is back the route works.
  ASSERT_TRUE(eventually([&] {
    return contains(system.service().err(), "DiagHandler disconnected");
  })) << system.service().err();
  EXPECT_EQ(system.shell({"zoth", "route", "1:embuf", "net1"}, out), 1);
  EXPECT_EQ(out, notConnected);
  startDiag();
  EXPECT_EQ(system.shell({"zoth", "route", "1:embuf", "net1"}, out), 0) << out;
  EXPECT_EQ(out, "Streaming started\n");
}

}  // namespace
}  // namespace kvn::e2e
