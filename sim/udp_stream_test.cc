#include "sim/udp_stream.h"

#include <arpa/inet.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include <gtest/gtest.h>

namespace kvn::sim {
namespace {

constexpr uint16_t kEmbuf = 4, kTn = 6, kRtt = 2;

// A UDP socket on 127.0.0.1 that the test reads without waiting.
class Receiver {
 public:
  Receiver() {
    fd = socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a);
    socklen_t len = sizeof a;
    getsockname(fd, reinterpret_cast<sockaddr*>(&a), &len);
    port = ntohs(a.sin_port);
  }
  ~Receiver() { close(fd); }
  // Sizes of the datagrams that have arrived.
  std::vector<size_t> take() {
    std::vector<size_t> sizes;
    char buf[2048];
    for (ssize_t n; (n = recv(fd, buf, sizeof buf, 0)) >= 0;) sizes.push_back(size_t(n));
    return sizes;
  }
  int fd;
  uint16_t port;
};

TEST(UdpStreamTest, SendsWhatIsConsumedOnlyWhileTheBufferIsAttachedToALoopbackSession) {
  char dirTemplate[] = "/tmp/udp-stream-test.XXXXXX";
  const std::string dir = mkdtemp(dirTemplate);
  Receiver rx;
  std::ofstream(UdpStream::sessionFile(dir, 7)) << "127.0.0.1 " << rx.port << "\n";
  std::ofstream(UdpStream::sessionFile(dir, 8)) << "10.0.0.1 " << rx.port << "\n";
  Journal journal(dir + "/journal");
  UdpStream udp(dir, journal);

  udp.consumed(100);  // nothing attached
  udp.socketOpened(3, 7);
  udp.socketOpened(4, 8);
  udp.linkChanged(kRtt, kTn, 3, true);  // not the buffer
  udp.consumed(100);
  EXPECT_TRUE(rx.take().empty());

  udp.linkChanged(kEmbuf, kTn, 3, true);
  udp.consumed(1000);  // 2000 bytes
  EXPECT_EQ(rx.take(), (std::vector<size_t>{1400, 600}));
  udp.consumed(1000000);  // bounded per call
  EXPECT_EQ(rx.take().size(), UdpStream::kMaxDatagramsPerSend);

  udp.linkChanged(kEmbuf, kTn, 0, false);  // the detach carries the next route's socket
  udp.consumed(100);
  udp.linkChanged(kEmbuf, kTn, 4, true);  // not on loopback
  udp.consumed(100);
  udp.linkChanged(kEmbuf, kTn, 9, true);  // never opened
  udp.consumed(100);
  EXPECT_TRUE(rx.take().empty());
  EXPECT_EQ(udp.datagramsSent(), 2 + UdpStream::kMaxDatagramsPerSend);
  system(("rm -rf " + dir).c_str());
}

}  // namespace
}  // namespace kvn::sim
