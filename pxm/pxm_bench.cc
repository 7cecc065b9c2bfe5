// Messages through pxmd against the same traffic on a direct Unix socket pair, measured in the
// same run: the round trip of a 64-byte message, and the throughput of 2 KiB messages with
// four in flight. Each figure is printed beside its baseline, and the ratios at the end.
//
// A third figure, a bare relay process that only copies bytes between two sockets, shows the
// floor of any design with a process in the middle: a round trip through it wakes four
// processes where the direct pair wakes two. It is the limit the hub is held to, for the
// round trip and for the throughput alike. Ratios are of times: below 1, the subject is faster.

#include <benchmark/benchmark.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "bench/ratio_reporter.h"
#include "pxm/pxm.h"
#include "tests/e2e/process.h"
#include "tests/e2e/pxm_hub.h"

namespace {

using kvn::e2e::OwnHub;
using kvn::e2e::Process;

// Where the echo and relay processes of the socket figures keep their output.
const kvn::e2e::RunDir& scratch() {
  static const kvn::e2e::RunDir dir;
  return dir;
}

constexpr uint32_t kData = 0x6000;
constexpr uint32_t kFound = 0x6001;
constexpr uint32_t kQuit = 0x6002;
constexpr int kInFlight = 4;

// Echoes every message back to its sender, until kQuit.
int hubEcho() {
  if (pxm_init(2, 0, nullptr, nullptr, 0) != 0 || pxm_create_mailbox("echo", 0) == PXM_NO_MBOX)
    return 1;
  for (;;) {
    pxm_msg* msg = pxm_receive(nullptr, PXM_NO_TMO, PXM_FROM_ALL);
    if (!msg) return 2;
    if (msg->msgno == kQuit) {
      pxm_free(&msg);
      pxm_exit();
      return 0;
    }
    pxm_send(&msg, pxm_sender(msg), PXM_MY_MBOX);
  }
}

bool readAll(int fd, char* buf, size_t size) {
  while (size > 0) {
    const ssize_t n = ::read(fd, buf, size);
    if (n <= 0) return false;
    buf += n;
    size -= static_cast<size_t>(n);
  }
  return true;
}

bool writeAll(int fd, const char* buf, size_t size) {
  while (size > 0) {
    const ssize_t n = ::write(fd, buf, size);
    if (n <= 0) return false;
    buf += n;
    size -= static_cast<size_t>(n);
  }
  return true;
}

// Echoes fixed-size records on a socket until it closes.
int directEcho(int fd, size_t size) {
  std::vector<char> buf(size);
  while (readAll(fd, buf.data(), size))
    if (!writeAll(fd, buf.data(), size)) return 1;
  return 0;
}

// A hub, this process attached with a mailbox, and an echo process.
class HubPair {
 public:
  HubPair() {
    if (!hub_.running() || pxm_init(2, 0, nullptr, nullptr, 0) != 0) return;
    if (pxm_create_mailbox("bench", 0) == PXM_NO_MBOX) return;
    echoProcess_ = std::make_unique<Process>(hub_.dir(), "echo", hubEcho);
    pxm_msg* found = pxm_alloc(4, kFound);
    pxm_locate_async("echo", &found, PXM_MY_MBOX);
    pxm_msg* answer = pxm_receive(nullptr, 10000, PXM_FROM_ALL);
    if (answer) echo_ = pxm_sender(answer);
    pxm_free(&answer);
  }
  ~HubPair() {
    if (echo_ != PXM_NO_MBOX) {
      pxm_msg* quit = pxm_alloc(4, kQuit);
      pxm_send(&quit, echo_, PXM_MY_MBOX);
      if (echoProcess_) echoProcess_->wait();
    }
    pxm_exit();
  }
  pxm_mbox_id_t echo() const { return echo_; }

 private:
  OwnHub hub_;
  std::unique_ptr<Process> echoProcess_;
  pxm_mbox_id_t echo_ = PXM_NO_MBOX;
};

// A socket pair, with an echo process on the other end.
class DirectPair {
 public:
  explicit DirectPair(size_t size) {
    ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds_);
    echoProcess_ = std::make_unique<Process>(scratch(), "echo", [this, size] {
      ::close(fds_[0]);
      return directEcho(fds_[1], size);
    });
    ::close(fds_[1]);
  }
  ~DirectPair() {
    ::close(fds_[0]);
    echoProcess_->wait();
  }
  int fd() const { return fds_[0]; }

 private:
  int fds_[2] = {-1, -1};
  std::unique_ptr<Process> echoProcess_;
};

// A socket pair to a relay process, which copies bytes both ways to an echo process.
class RelayChain {
 public:
  explicit RelayChain(size_t size) {
    int front[2], back[2];
    ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, front);
    ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, back);
    echoProcess_ = std::make_unique<Process>(scratch(), "echo", [&] {
      ::close(front[0]);
      ::close(front[1]);
      ::close(back[0]);
      return directEcho(back[1], size);
    });
    relayProcess_ = std::make_unique<Process>(scratch(), "relay", [&] {
      ::close(front[0]);
      ::close(back[1]);
      return relay(front[1], back[0]);
    });
    ::close(front[1]);
    ::close(back[0]);
    ::close(back[1]);
    fd_ = front[0];
  }
  ~RelayChain() {
    ::close(fd_);
    relayProcess_->wait();
    echoProcess_->wait();
  }
  int fd() const { return fd_; }

 private:
  static int relay(int a, int b) {
    const int ep = ::epoll_create1(0);
    for (int fd : {a, b}) {
      epoll_event ev{};
      ev.events = EPOLLIN;
      ev.data.fd = fd;
      ::epoll_ctl(ep, EPOLL_CTL_ADD, fd, &ev);
    }
    std::vector<char> buf(64 * 1024);
    for (;;) {
      epoll_event events[2];
      const int n = ::epoll_wait(ep, events, 2, -1);
      for (int i = 0; i < n; ++i) {
        const int from = events[i].data.fd;
        const ssize_t got = ::read(from, buf.data(), buf.size());
        if (got <= 0) return 0;
        if (!writeAll(from == a ? b : a, buf.data(), static_cast<size_t>(got))) return 1;
      }
    }
  }

  int fd_ = -1;
  std::unique_ptr<Process> echoProcess_;
  std::unique_ptr<Process> relayProcess_;
};

void sendData(pxm_mbox_id_t to, size_t size) {
  pxm_msg* msg = pxm_alloc(size, kData);
  pxm_send(&msg, to, PXM_MY_MBOX);
}

bool receiveData() {
  pxm_msg* msg = pxm_receive(nullptr, 10000, PXM_FROM_ALL);
  const bool ok = msg != nullptr;
  pxm_free(&msg);
  return ok;
}

void BM_RoundTrip64_Hub(benchmark::State& state) {
  HubPair pair;
  if (pair.echo() == PXM_NO_MBOX) return state.SkipWithError("no hub or no echo process");
  for (auto _ : state) {
    sendData(pair.echo(), 64);
    if (!receiveData()) return state.SkipWithError("echo lost");
  }
}

void BM_RoundTrip64_Direct(benchmark::State& state) {
  DirectPair pair(64);
  char buf[64] = {};
  for (auto _ : state) {
    if (!writeAll(pair.fd(), buf, sizeof buf) || !readAll(pair.fd(), buf, sizeof buf))
      return state.SkipWithError("echo lost");
  }
}

void BM_RoundTrip64_Relay(benchmark::State& state) {
  RelayChain chain(64);
  char buf[64] = {};
  for (auto _ : state) {
    if (!writeAll(chain.fd(), buf, sizeof buf) || !readAll(chain.fd(), buf, sizeof buf))
      return state.SkipWithError("echo lost");
  }
}

void BM_Throughput2K_Hub(benchmark::State& state) {
  HubPair pair;
  if (pair.echo() == PXM_NO_MBOX) return state.SkipWithError("no hub or no echo process");
  for (int i = 0; i < kInFlight; ++i) sendData(pair.echo(), 2048);
  for (auto _ : state) {
    if (!receiveData()) return state.SkipWithError("echo lost");
    sendData(pair.echo(), 2048);
  }
  for (int i = 0; i < kInFlight; ++i) receiveData();
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * 2048);
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}

// Four 2 KiB records in flight on `fd`, each echoed back and sent again.
void throughput2K(benchmark::State& state, int fd) {
  std::vector<char> buf(2048);
  for (int i = 0; i < kInFlight; ++i) writeAll(fd, buf.data(), buf.size());
  for (auto _ : state) {
    if (!readAll(fd, buf.data(), buf.size()) || !writeAll(fd, buf.data(), buf.size()))
      return state.SkipWithError("echo lost");
  }
  for (int i = 0; i < kInFlight; ++i) readAll(fd, buf.data(), buf.size());
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * 2048);
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}

void BM_Throughput2K_Direct(benchmark::State& state) {
  DirectPair pair(2048);
  throughput2K(state, pair.fd());
}

void BM_Throughput2K_Relay(benchmark::State& state) {
  RelayChain chain(2048);
  throughput2K(state, chain.fd());
}

BENCHMARK(BM_RoundTrip64_Direct)->UseRealTime();
BENCHMARK(BM_RoundTrip64_Relay)->UseRealTime();
BENCHMARK(BM_RoundTrip64_Hub)->UseRealTime();
BENCHMARK(BM_Throughput2K_Direct)->UseRealTime();
BENCHMARK(BM_Throughput2K_Relay)->UseRealTime();
BENCHMARK(BM_Throughput2K_Hub)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  using Ratio = kvn::bench::RatioReporter::Ratio;
  std::vector<Ratio> ratios;
  for (const std::string base : {"BM_RoundTrip64", "BM_Throughput2K"}) {
    ratios.push_back({base.substr(3) + " hub/direct", base + "_Hub", base + "_Direct"});
    ratios.push_back({base.substr(3) + " relay/direct", base + "_Relay", base + "_Direct"});
    ratios.push_back({base.substr(3) + " hub/relay", base + "_Hub", base + "_Relay"});
  }
  kvn::bench::RatioReporter reporter(kvn::bench::RatioReporter::Clock::kReal, ratios);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
