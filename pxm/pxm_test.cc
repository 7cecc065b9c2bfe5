// The library and the hub together, with real processes: each test runs its own pxmd in a
// private run directory, and forks the other processes it needs.

#include "pxm/pxm.h"

#include <grp.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "pxm/frame.h"
#include "tests/e2e/process.h"
#include "tests/e2e/pxm_hub.h"
#include "tests/e2e/run_dir.h"
#include "util/testing/raw_hub_client.h"

namespace pxm {
namespace {

using kvn::e2e::OwnHub;
using kvn::e2e::Process;
using kvn::testing::RawHubClient;
using Clock = std::chrono::steady_clock;

constexpr uint32_t kData = 0x5000;
constexpr uint32_t kFound = 0x5001;
constexpr uint32_t kGone = 0x5002;
constexpr uint32_t kQuit = 0x5003;
constexpr uint32_t kOther = 0x5004;
constexpr uint32_t kLimitMs = 10000;  // generous bound for anything that must arrive
constexpr uid_t kNobody = 65534;

// A received message, freed at the end of its scope.
class Received {
 public:
  explicit Received(pxm_msg* msg) : msg_(msg) {}
  ~Received() { pxm_free(&msg_); }
  Received(const Received&) = delete;
  Received& operator=(const Received&) = delete;
  explicit operator bool() const { return msg_ != nullptr; }
  pxm_msg* get() const { return msg_; }
  uint32_t msgno() const { return msg_->msgno; }
  uint32_t value() const {
    uint32_t v;
    std::memcpy(&v, reinterpret_cast<const char*>(msg_) + 4, 4);
    return v;
  }
  pxm_mbox_id_t sender() const { return pxm_sender(msg_); }

 private:
  pxm_msg* msg_;
};

pxm_msg* make(uint32_t msgno, uint32_t value = 0, size_t size = 8) {
  pxm_msg* msg = pxm_alloc(size, msgno);
  std::memcpy(reinterpret_cast<char*>(msg) + 4, &value, 4);
  return msg;
}

void sendTo(pxm_mbox_id_t to, uint32_t msgno, uint32_t value = 0, size_t size = 8) {
  pxm_msg* msg = make(msgno, value, size);
  pxm_send(&msg, to, PXM_MY_MBOX);
}

pxm_msg* receiveOne(uint32_t msgno, uint32_t timeoutMs = kLimitMs) {
  const uint32_t filter[] = {1, msgno};
  return pxm_receive(filter, timeoutMs, PXM_FROM_ALL);
}

// Waits, by an asynchronous locate, until a mailbox of that name exists.
pxm_mbox_id_t awaitMailbox(const char* name) {
  pxm_msg* msg = pxm_alloc(4, kFound);
  pxm_locate_async(name, &msg, PXM_MY_MBOX);
  Received found(receiveOne(kFound));
  return found ? found.sender() : PXM_NO_MBOX;
}

int32_t init() { return pxm_init(2, 0, nullptr, nullptr, 0); }

// A child that owns mailbox `name` and answers every message with the same message, until a
// kQuit comes (or it is killed).
int echoChild(const char* name) {
  if (init() != 0 || pxm_create_mailbox(name, 0) == PXM_NO_MBOX) return 1;
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

class PxmTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(hub_.running());
    ASSERT_EQ(init(), 0);
    self_ = pxm_create_mailbox("test", 0);
    ASSERT_NE(self_, PXM_NO_MBOX);
  }
  void TearDown() override { pxm_exit(); }

  OwnHub hub_;
  pxm_mbox_id_t self_ = PXM_NO_MBOX;
};

TEST(PxmInitTest, FailsWithoutHubAndForBadNamespacesAndTheHubIsPrivate) {
  OwnHub noHub({}, /*start=*/false);
  EXPECT_NE(init(), 0);
  EXPECT_EQ(pxm_create_mailbox("x", 0), PXM_NO_MBOX);

  OwnHub hub;
  ASSERT_TRUE(hub.running());
  EXPECT_NE(pxm_init(2, 0, nullptr, "../evil", 0), 0);
  EXPECT_NE(pxm_init(2, 0, nullptr, "nobody-serves-this", 0), 0);
  ASSERT_EQ(pxm_init(2, 0, nullptr, "", 0), 0);  // the default namespace
  ASSERT_NE(pxm_create_mailbox("phoenix", 0), PXM_NO_MBOX);
  EXPECT_NE(init(), 0) << "a second pxm_init without pxm_exit";
  pxm_exit();
  ASSERT_EQ(init(), 0) << "again after pxm_exit";
  EXPECT_NE(pxm_create_mailbox("phoenix", 0), PXM_NO_MBOX) << "the exit gave the name up at once";
  pxm_exit();

  struct stat st {};
  ASSERT_EQ(::stat(hub.runDir().c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0700u);
  ASSERT_EQ(::stat(hub.socketPath().c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0600u);

  // A second hub for the namespace refuses to start; the first one stops cleanly.
  Process second(hub.dir(), "second", PXMD_PATH);
  EXPECT_EQ(second.wait(), 1);
  EXPECT_TRUE(hub.stop());
  EXPECT_NE(::access(hub.socketPath().c_str(), F_OK), 0);
}

TEST_F(PxmTest, MessagesBetweenTwoMailboxesArriveInOrder) {
  constexpr uint32_t kCount = 3000;
  Process child(hub_.dir(), "child", [] {
    if (init() != 0 || pxm_create_mailbox("sender", 0) == PXM_NO_MBOX) return 1;
    const pxm_mbox_id_t to = pxm_locate("test");
    if (to == PXM_NO_MBOX) return 2;
    for (uint32_t i = 0; i < kCount; ++i) sendTo(to, kData, i, 8 + i % 500);
    Received quit(receiveOne(kQuit));
    return quit ? 0 : 3;
  });
  const pxm_mbox_id_t sender = awaitMailbox("sender");
  ASSERT_NE(sender, PXM_NO_MBOX);
  for (uint32_t i = 0; i < kCount; ++i) {
    Received msg(pxm_receive(nullptr, kLimitMs, PXM_FROM_ALL));
    ASSERT_TRUE(msg);
    ASSERT_EQ(msg.msgno(), kData);
    ASSERT_EQ(msg.value(), i);
    ASSERT_EQ(pxm_size(msg.get()), 8 + i % 500);
    ASSERT_EQ(msg.sender(), sender);
    ASSERT_EQ(pxm_receiver(msg.get()), self_);
  }
  sendTo(sender, kQuit);
  EXPECT_EQ(child.wait(), 0);
}

TEST_F(PxmTest, ReceiveTimesOutAndFiltersPickByNumberAndSender) {
  // A zero time-out polls: were it to wait for a message, none would ever come.
  EXPECT_EQ(pxm_receive(nullptr, 0, PXM_FROM_ALL), nullptr);
  const auto start = Clock::now();
  EXPECT_EQ(pxm_receive(nullptr, 50, PXM_FROM_ALL), nullptr);
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(50));

  for (uint32_t no : {0x10u, 0x20u, 0x30u, 0x40u, 0x50u}) sendTo(self_, no);
  Received last(receiveOne(0x50));  // once this is in, the ones before it are too
  ASSERT_TRUE(last);
  const uint32_t twoOfThem[] = {2, 0x30, 0x10};
  Received a(pxm_receive(twoOfThem, 0, PXM_FROM_ALL));
  ASSERT_TRUE(a);
  EXPECT_EQ(a.msgno(), 0x10u) << "the first one in the queue that matches";
  Received b(pxm_receive(twoOfThem, 0, PXM_FROM_ALL));
  ASSERT_TRUE(b);
  EXPECT_EQ(b.msgno(), 0x30u);
  EXPECT_EQ(pxm_receive(twoOfThem, 0, PXM_FROM_ALL), nullptr) << "0x20 is left alone";
  // The rest is taken by polling receives, in order.
  const uint32_t any[] = {0};
  Received c(pxm_receive(any, 0, PXM_FROM_ALL));
  Received d(pxm_receive(nullptr, 0, PXM_FROM_ALL));
  ASSERT_TRUE(c && d);
  EXPECT_EQ(c.msgno(), 0x20u);
  EXPECT_EQ(d.msgno(), 0x40u);
  EXPECT_EQ(pxm_receive(nullptr, 0, PXM_FROM_ALL), nullptr);

  // By sender: the child's message is taken before an older one of our own.
  sendTo(self_, kData, 1);
  Process child(hub_.dir(), "child", [] {
    if (init() != 0 || pxm_create_mailbox("other", 0) == PXM_NO_MBOX) return 1;
    sendTo(pxm_locate("test"), kData, 2);
    Received quit(receiveOne(kQuit));
    return 0;
  });
  const pxm_mbox_id_t other = awaitMailbox("other");
  ASSERT_NE(other, PXM_NO_MBOX);
  Received fromChild(pxm_receive(nullptr, kLimitMs, other));
  ASSERT_TRUE(fromChild);
  EXPECT_EQ(fromChild.value(), 2u);
  Received fromSelf(pxm_receive(nullptr, 0, self_));
  ASSERT_TRUE(fromSelf);
  EXPECT_EQ(fromSelf.value(), 1u);
  sendTo(other, kQuit);
  EXPECT_EQ(child.wait(), 0);
}

TEST_F(PxmTest, MonitorFiresWhenWatchedProcessIsKilledAndUnmonitorCancels) {
  Process child(hub_.dir(), "child", [] { return echoChild("victim"); });
  const pxm_mbox_id_t victim = awaitMailbox("victim");
  ASSERT_NE(victim, PXM_NO_MBOX);

  // Monitors fire in the order they were set, so the cancelled one would come first.
  pxm_msg* cancelledMsg = make(kGone, 1);
  const pxm_monitor_id_t cancelled = pxm_monitor(victim, &cancelledMsg);
  ASSERT_NE(cancelled, 0u);
  pxm_unmonitor(cancelled);
  pxm_msg* own = make(kGone, 7);
  EXPECT_NE(pxm_monitor(victim, &own), 0u);
  EXPECT_EQ(own, nullptr) << "taken over";
  pxm_msg* none = nullptr;
  EXPECT_NE(pxm_monitor(victim, &none), 0u);
  EXPECT_NE(pxm_monitor(victim, nullptr), 0u);
  child.stop(SIGKILL);

  Received given(receiveOne(kGone));
  ASSERT_TRUE(given);
  EXPECT_EQ(given.value(), 7u);
  EXPECT_EQ(given.sender(), victim);
  EXPECT_EQ(pxm_receiver(given.get()), self_);
  EXPECT_EQ(receiveOne(kGone, 0), nullptr);
  for (int i = 0; i < 2; ++i) {
    Received gone(receiveOne(PXM_MBOX_GONE));
    ASSERT_TRUE(gone);
    EXPECT_EQ(gone.sender(), victim);
  }
  // The name is free again.
  EXPECT_NE(pxm_create_mailbox("victim", 0), PXM_NO_MBOX);
}

TEST_F(PxmTest, NamesAreUniqueAndIdsNeverComeBack) {
  const pxm_mbox_id_t dup = pxm_create_mailbox("dup", 0);
  ASSERT_NE(dup, PXM_NO_MBOX);
  EXPECT_EQ(pxm_create_mailbox("dup", 0), PXM_NO_MBOX);
  pxm_mbox_id_t last = dup;
  for (int i = 0; i < 200; ++i) {
    pxm_delete_mailbox(last);
    const pxm_mbox_id_t next = pxm_create_mailbox("dup", 0);
    ASSERT_NE(next, PXM_NO_MBOX);
    ASSERT_GT(next, last);
    last = next;
  }
  char name[16];
  EXPECT_NE(pxm_get_name(last, name, sizeof name), 0);
  EXPECT_STREQ(name, "dup");
  EXPECT_EQ(pxm_get_name(last, name, 3), 0) << "does not fit";
  EXPECT_EQ(pxm_get_name(dup, name, sizeof name), 0) << "gone";
  EXPECT_EQ(pxm_locate("nobody"), PXM_NO_MBOX);
}

TEST_F(PxmTest, LargeMessagesArriveWhole) {
  Process child(hub_.dir(), "child", [] { return echoChild("echo"); });
  const pxm_mbox_id_t echo = awaitMailbox("echo");
  ASSERT_NE(echo, PXM_NO_MBOX);
  for (size_t size : {size_t{1} << 20, (size_t{9} << 20) + 3}) {
    pxm_msg* msg = pxm_alloc(size, kData);
    ASSERT_NE(msg, nullptr);
    auto* bytes = reinterpret_cast<unsigned char*>(msg);
    for (size_t i = 4; i < size; ++i) bytes[i] = static_cast<unsigned char>(i * 7 + i / 4096);
    pxm_send(&msg, echo, PXM_MY_MBOX);
    sendTo(echo, kOther);  // a small one behind it stays behind it
    Received back(pxm_receive(nullptr, kLimitMs, PXM_FROM_ALL));
    ASSERT_TRUE(back);
    ASSERT_EQ(back.msgno(), kData);
    ASSERT_EQ(pxm_size(back.get()), size);
    const auto* got = reinterpret_cast<const unsigned char*>(back.get());
    for (size_t i = 4; i < size; ++i)
      ASSERT_EQ(got[i], static_cast<unsigned char>(i * 7 + i / 4096)) << "byte " << i;
    Received small(pxm_receive(nullptr, kLimitMs, PXM_FROM_ALL));
    ASSERT_TRUE(small);
    EXPECT_EQ(small.msgno(), kOther);
  }
  sendTo(echo, kQuit);
  EXPECT_EQ(child.wait(), 0);
}

TEST_F(PxmTest, ThreadsReceiveFromTheirOwnMailboxes) {
  constexpr uint32_t kRounds = 2000;
  pxm_mbox_id_t ping = PXM_NO_MBOX;
  std::thread pinger([&] {
    ping = pxm_create_mailbox("ping", 0);
    const pxm_mbox_id_t pong = awaitMailbox("pong");
    for (uint32_t i = 0; i < kRounds; ++i) {
      sendTo(pong, kData, i);
      Received back(pxm_receive(nullptr, kLimitMs, PXM_FROM_ALL));
      if (!back || back.value() != i + 1) return;
    }
    sendTo(pong, kQuit);
  });
  uint32_t answered = 0;
  std::thread ponger([&] {
    pxm_create_mailbox("pong", 0);
    for (;;) {
      Received msg(pxm_receive(nullptr, kLimitMs, PXM_FROM_ALL));
      if (!msg || msg.msgno() == kQuit) return;
      sendTo(msg.sender(), kData, msg.value() + 1);
      ++answered;
    }
  });
  pinger.join();
  ponger.join();
  EXPECT_NE(ping, PXM_NO_MBOX);
  EXPECT_EQ(answered, kRounds);
  EXPECT_EQ(pxm_receive(nullptr, 0, PXM_FROM_ALL), nullptr) << "none of theirs came here";
}

TEST_F(PxmTest, MisuseIsReportedNotFollowed) {
  pxm_msg* msg = pxm_alloc(16, kData);
  pxm_msg* stale = msg;
  pxm_free(&msg);
  EXPECT_EQ(msg, nullptr);
  pxm_free(&msg);  // freeing nothing is harmless

  errno = 0;
  pxm_send(&msg, self_, PXM_MY_MBOX);
  EXPECT_EQ(errno, EINVAL);
  errno = 0;
  pxm_send(&stale, self_, PXM_MY_MBOX);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(pxm_size(stale), 0u);
  EXPECT_EQ(pxm_sender(stale), PXM_NO_MBOX);
  pxm_send(nullptr, self_, PXM_MY_MBOX);
  pxm_free(nullptr);
  EXPECT_EQ(pxm_size(nullptr), 0u);
  EXPECT_EQ(pxm_setsize(nullptr, 8), 0);
  EXPECT_EQ(pxm_locate(nullptr), PXM_NO_MBOX);
  EXPECT_EQ(pxm_get_name(self_, nullptr, 10), 0);
  EXPECT_EQ(pxm_alloc(2, kData), nullptr);
  EXPECT_EQ(pxm_alloc(size_t{1} << 30, kData), nullptr);

  // Sending from a mailbox of someone else, or from a thread without one, sends nothing.
  pxm_msg* forged = make(kData, 1);
  errno = 0;
  pxm_send(&forged, self_, 0x7ffffff0u);
  EXPECT_EQ(errno, EINVAL);
  std::thread([&] {
    pxm_msg* orphan = make(kData, 2);
    pxm_send(&orphan, self_, PXM_MY_MBOX);
    EXPECT_EQ(pxm_receive(nullptr, 0, PXM_FROM_ALL), nullptr);
  }).join();
  sendTo(self_, kOther);
  Received marker(receiveOne(kOther));
  ASSERT_TRUE(marker);
  EXPECT_EQ(pxm_receive(nullptr, 0, PXM_FROM_ALL), nullptr);

  // Deleting a mailbox this process does not own changes nothing.
  pxm_delete_mailbox(0x7ffffff0u);
  EXPECT_EQ(pxm_locate("test"), self_);
}

TEST(PxmMessageTest, AllocatedMessagesWithoutHub) {
  pxm_msg* msg = pxm_alloc(16, 0x42);
  ASSERT_NE(msg, nullptr);
  EXPECT_EQ(msg->msgno, 0x42u);
  EXPECT_EQ(pxm_size(msg), 16u);
  EXPECT_EQ(pxm_sender(msg), PXM_NO_MBOX);
  EXPECT_EQ(pxm_receiver(msg), PXM_NO_MBOX);
  auto* bytes = reinterpret_cast<unsigned char*>(msg);
  for (int i = 4; i < 16; ++i) EXPECT_EQ(bytes[i], 0);

  std::memset(bytes + 4, 0xab, 12);
  EXPECT_NE(pxm_setsize(msg, 8), 0);
  EXPECT_EQ(pxm_size(msg), 8u);
  EXPECT_NE(pxm_setsize(msg, 32), 0) << "grows within its room";
  EXPECT_EQ(pxm_size(msg), 32u);
  EXPECT_EQ(bytes[7], 0xab);
  EXPECT_EQ(bytes[8], 0) << "what it grew by reads as zero";
  EXPECT_EQ(pxm_setsize(msg, 3), 0);
  EXPECT_EQ(pxm_setsize(msg, size_t{1} << 24), 0);
  EXPECT_EQ(pxm_size(msg), 32u);
  pxm_free(&msg);
}

// Greets the hub over a raw connection and creates mailbox `name`; its id.
uint32_t greet(RawHubClient& c, const char* name) {
  c.frame(kHello, {1, kProtocolVersion, 0});
  if (c.replyValue() != kProtocolVersion) return PXM_NO_MBOX;
  c.frame(kCreate, {2}, name);
  return c.replyValue();
}

void expectEchoWorks(pxm_mbox_id_t echo) {
  for (uint32_t i = 0; i < 10; ++i) {
    sendTo(echo, kData, i);
    Received back(pxm_receive(nullptr, kLimitMs, PXM_FROM_ALL));
    ASSERT_TRUE(back);
    EXPECT_EQ(back.value(), i);
  }
}

TEST_F(PxmTest, BadClientsAreCutOffAndOthersGoOn) {
  Process child(hub_.dir(), "child", [] { return echoChild("echo"); });
  const pxm_mbox_id_t echo = awaitMailbox("echo");
  ASSERT_NE(echo, PXM_NO_MBOX);

  {
    SCOPED_TRACE("garbage from the first byte");
    RawHubClient garbage(hub_.socketPath());
    ASSERT_TRUE(garbage.connected());
    std::vector<unsigned char> noise(8192);
    for (size_t i = 0; i < noise.size(); ++i) noise[i] = static_cast<unsigned char>(i * 131 + 17);
    garbage.write(noise.data(), noise.size());
    EXPECT_TRUE(garbage.cutOff());
    expectEchoWorks(echo);
  }
  {
    SCOPED_TRACE("a frame of an unknown type after a proper greeting");
    RawHubClient rogue(hub_.socketPath());
    ASSERT_NE(greet(rogue, "rogue"), PXM_NO_MBOX);
    rogue.frame(999, {1, 2, 3});
    EXPECT_TRUE(rogue.cutOff());
    expectEchoWorks(echo);
  }
  {
    SCOPED_TRACE("an oversized message");
    RawHubClient big(hub_.socketPath());
    ASSERT_NE(greet(big, "big"), PXM_NO_MBOX);
    const FrameHeader header{static_cast<uint32_t>(kMaxFrameBody + 1), kSend, 0};
    big.write(&header, sizeof header);
    EXPECT_TRUE(big.cutOff());
    EXPECT_EQ(pxm_locate("big"), PXM_NO_MBOX) << "its mailbox went with it";
    expectEchoWorks(echo);
  }
  {
    SCOPED_TRACE("a process that dies in the middle of a message");
    pxm_mbox_id_t halfBox;
    {
      RawHubClient half(hub_.socketPath());
      halfBox = greet(half, "half");
      ASSERT_NE(halfBox, PXM_NO_MBOX);
      ASSERT_NE(pxm_monitor(halfBox, nullptr), 0u);
      const FrameHeader header{sizeof(Route) + 1000, kSend, 0};
      const Route route{self_, halfBox};
      half.write(&header, sizeof header);
      half.write(&route, sizeof route);
      half.write("part of it", 10);
    }
    Received gone(receiveOne(PXM_MBOX_GONE));
    ASSERT_TRUE(gone);
    EXPECT_EQ(gone.sender(), halfBox);
    EXPECT_EQ(receiveOne(kData, 0), nullptr) << "nothing of the half message arrived";
    expectEchoWorks(echo);
  }
  sendTo(echo, kQuit);
  EXPECT_EQ(child.wait(), 0);
}

TEST_F(PxmTest, HubGoneMakesCallsFailWithoutSpinning) {
  ASSERT_TRUE(hub_.stop());
  const auto start = Clock::now();
  EXPECT_EQ(pxm_receive(nullptr, 100, PXM_FROM_ALL), nullptr);
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(100)) << "waits out its time";
  EXPECT_EQ(pxm_locate("test"), PXM_NO_MBOX);
  EXPECT_EQ(pxm_create_mailbox("late", 0), PXM_NO_MBOX);
  sendTo(self_, kData);  // dropped, not a crash
}

// A process that floods the hub with what it must hold (monitors, locates) or never reads what
// comes for it is told why and cut off; two others go on exchanging messages all the while,
// and lose none.
TEST(PxmHubLimitsTest, OffendersAreCutOffWhileOthersGoOn) {
  OwnHub hub({"--max-monitors", "64", "--max-locates", "64", "--max-queued-bytes", "1048576"});
  ASSERT_TRUE(hub.running());
  ASSERT_EQ(init(), 0);
  ASSERT_NE(pxm_create_mailbox("test", 0), PXM_NO_MBOX);

  Process echo(hub.dir(), "echo", [] { return echoChild("echo"); });
  // Pings the echo with rising numbers until told to stop; each must come back, in order.
  // Reports how many did.
  Process pinger(hub.dir(), "pinger", [] {
    if (init() != 0 || pxm_create_mailbox("pinger", 0) == PXM_NO_MBOX) return 1;
    const pxm_mbox_id_t to = awaitMailbox("echo");
    uint32_t n = 0;
    for (;;) {
      sendTo(to, kData, n);
      Received got(pxm_receive(nullptr, kLimitMs, PXM_FROM_ALL));
      if (!got) return 2;
      if (got.msgno() == kQuit) {
        sendTo(got.sender(), kData, n);
        pxm_exit();
        return 0;
      }
      if (got.msgno() != kData || got.value() != n) return 3;
      ++n;
    }
  });
  const pxm_mbox_id_t pingerBox = awaitMailbox("pinger");
  ASSERT_NE(pingerBox, PXM_NO_MBOX);

  // A child that, once told to go, does `flood` a thousand times.
  auto flooder = [](void (*flood)(pxm_mbox_id_t test, int i)) {
    return [flood] {
      if (init() != 0 || pxm_create_mailbox("flooder", 0) == PXM_NO_MBOX) return 1;
      Received go(receiveOne(kOther));
      if (!go) return 2;
      for (int i = 0; i < 1000; ++i) flood(go.sender(), i);
      pxm_receive(nullptr, 500, PXM_FROM_ALL);  // the hub's last word arrives
      return 0;
    };
  };
  auto floods = [&](const char* what, void (*flood)(pxm_mbox_id_t, int), const char* error) {
    SCOPED_TRACE(what);
    Process child(hub.dir(), "flooder", flooder(flood));
    const pxm_mbox_id_t box = awaitMailbox("flooder");
    ASSERT_NE(box, PXM_NO_MBOX);
    ASSERT_NE(pxm_monitor(box, nullptr), 0u);
    sendTo(box, kOther);
    Received gone(receiveOne(PXM_MBOX_GONE));
    ASSERT_TRUE(gone) << "cut off";
    EXPECT_EQ(gone.sender(), box);
    EXPECT_EQ(child.wait(), 0);
    const std::string text = hub.dir().read("flooder.err");
    EXPECT_NE(text.find(std::string("pxm: cut off by the hub: ") + error), std::string::npos)
        << text;
  };
  floods(
      "monitors", [](pxm_mbox_id_t test, int) { pxm_monitor(test, nullptr); },
      "went beyond its limit of 64 monitors");
  floods(
      "locates",
      [](pxm_mbox_id_t, int i) {
        pxm_msg* msg = pxm_alloc(8, kFound);
        pxm_locate_async(("nobody-" + std::to_string(i)).c_str(), &msg, PXM_MY_MBOX);
      },
      "went beyond its limit of 64 pending locates");

  {
    SCOPED_TRACE("a process that never reads");
    RawHubClient sleepy(hub.socketPath());
    const uint32_t box = greet(sleepy, "sleepy");
    ASSERT_NE(box, PXM_NO_MBOX);
    ASSERT_NE(pxm_monitor(box, nullptr), 0u);
    bool cut = false;
    for (int i = 0; i < 200 && !cut; ++i) {
      sendTo(box, kData, i, 64 * 1024);
      cut = Received(receiveOne(PXM_MBOX_GONE, i < 150 ? 0 : 100)).get() != nullptr;
    }
    if (!cut) cut = Received(receiveOne(PXM_MBOX_GONE)).get() != nullptr;
    ASSERT_TRUE(cut);
    const auto frames = sleepy.framesToEnd();
    ASSERT_FALSE(frames.empty());
    EXPECT_EQ(frames.back().first, kError);
    EXPECT_EQ(frames.back().second, "went beyond its limit of 1048576 bytes queued unread");
  }

  sendTo(pingerBox, kQuit);
  Received report(receiveOne(kData));
  ASSERT_TRUE(report);
  EXPECT_GT(report.value(), 0u);
  EXPECT_EQ(pinger.wait(), 0) << "every ping came back, in order";
  expectEchoWorks(awaitMailbox("echo"));
  sendTo(awaitMailbox("echo"), kQuit);
  EXPECT_EQ(echo.wait(), 0);
  pxm_exit();
}

// A child process of another user (nobody) and other groups, as root can make one.
int asUser(gid_t gid, const std::vector<gid_t>& groups, const std::function<int()>& body) {
  if (::setgroups(groups.size(), groups.data()) != 0 || ::setgid(gid) != 0 ||
      ::setuid(kNobody) != 0)
    return 90;
  return body();
}

// The refusal of a pxm_init in a child: 0 when the result and the words are as expected.
int refusedAs(int32_t result, const std::string& words) {
  if (init() != result) return 1;
  return words == pxm_init_refusal() ? 0 : 2;
}

TEST(PxmAccessTest, GroupMembersAreAdmittedAndOthersRefusedInWords) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root, to run children as other users";
  constexpr gid_t kGroup = 54321;  // a group that no user has
  OwnHub hub({"--group", std::to_string(kGroup)});
  ASSERT_TRUE(hub.running());
  struct stat st {};
  ASSERT_EQ(::stat(hub.runDir().c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0750u);
  EXPECT_EQ(st.st_gid, kGroup);
  ASSERT_EQ(::stat(hub.socketPath().c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0660u);
  EXPECT_EQ(st.st_gid, kGroup);
  // Others may pass through the test's own directory, so that only the hub's decides.
  const std::string top = hub.runDir().substr(0, hub.runDir().rfind('/'));
  ASSERT_EQ(::chmod(top.c_str(), 0711), 0);

  auto member = [] {
    return init() == 0 && pxm_create_mailbox("member", 0) != PXM_NO_MBOX && *pxm_init_refusal() == 0
               ? 0
               : 1;
  };
  const std::string words = "not a member of group " + std::to_string(kGroup);
  const auto refused = [&] {
    Process other(hub.dir(), "other", [&] {
      return asUser(kNobody, {}, [&] { return refusedAs(PXM_INIT_NOT_ALLOWED, words); });
    });
    return other.wait() == 0;
  };
  Process primary(hub.dir(), "primary", [&] { return asUser(kGroup, {}, member); });
  EXPECT_EQ(primary.wait(), 0) << "its group";
  Process supplementary(hub.dir(), "supplementary",
                        [&] { return asUser(kNobody, {kGroup}, member); });
  EXPECT_EQ(supplementary.wait(), 0) << "a supplementary group";
  EXPECT_TRUE(refused()) << "neither: the directory keeps it out";
  ASSERT_EQ(::chmod(hub.runDir().c_str(), 0755), 0);
  ASSERT_EQ(::chmod(hub.socketPath().c_str(), 0666), 0);
  EXPECT_TRUE(refused()) << "neither, with the way open: the hub refuses it";
}

// The parents that the hub makes on the way to its run directory let the group through too.
TEST(PxmAccessTest, ParentsTheHubMakesLetItsGroupReachTheSocket) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root, to run children as other users";
  constexpr gid_t kGroup = 54321;
  kvn::e2e::RunDir dir;
  ASSERT_EQ(::chmod(dir.path().c_str(), 0711), 0);
  const std::string deep = dir.path() + "/a/b/pxm";
  Process hub(dir, "pxmd", PXMD_PATH, {"--rundir", deep, "--group", std::to_string(kGroup)});
  ASSERT_TRUE(
      kvn::e2e::eventually([&] { return ::access((deep + "/default.hub").c_str(), F_OK) == 0; }));
  for (const std::string& made : {dir.path() + "/a", dir.path() + "/a/b", deep}) {
    struct stat st {};
    ASSERT_EQ(::stat(made.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0750u) << made;
    EXPECT_EQ(st.st_gid, kGroup) << made;
  }
  Process member(dir, "member", [&] {
    ::setenv("PXM_RUNDIR", deep.c_str(), 1);
    return asUser(kNobody, {kGroup}, [] { return init(); });
  });
  EXPECT_EQ(member.wait(), 0);
  EXPECT_EQ(hub.stop(SIGTERM), 0);
}

// A process that reads, but more slowly than one sender feeds it, is not the one cut off: the
// sender is.
TEST(PxmHubLimitsTest, SenderFasterThanItsReaderIsCutOffNotTheReader) {
  OwnHub hub;
  ASSERT_TRUE(hub.running());
  ASSERT_EQ(init(), 0);
  ASSERT_NE(pxm_create_mailbox("slow", 0), PXM_NO_MBOX);
  Process flooder(hub.dir(), "flooder", [] {
    if (init() != 0 || pxm_create_mailbox("flooder", 0) == PXM_NO_MBOX) return 1;
    const pxm_mbox_id_t to = awaitMailbox("slow");
    const auto end = Clock::now() + std::chrono::seconds(10);
    while (Clock::now() < end) sendTo(to, kData, 0, 64 * 1024);
    return 0;
  });
  const pxm_mbox_id_t box = awaitMailbox("flooder");
  ASSERT_NE(box, PXM_NO_MBOX);
  ASSERT_NE(pxm_monitor(box, nullptr), 0u);
  bool gone = false;
  for (int i = 0; i < 5000 && !gone; ++i) {
    Received got(pxm_receive(nullptr, kLimitMs, PXM_FROM_ALL));
    ASSERT_TRUE(got);
    gone = got.msgno() == PXM_MBOX_GONE;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  ASSERT_TRUE(gone) << "the flooder was cut off";
  sendTo(pxm_locate("slow"), kOther);
  EXPECT_TRUE(Received(receiveOne(kOther))) << "the reader goes on";
  pxm_exit();
}

// Connections beyond a limit are refused with the reason, in words through the library. (The
// time limits are pxm-hostile's: every stalled frame and silent connection must be closed.)
TEST(PxmHubLimitsTest, ConnectionLimits) {
  // A greeted raw connection. The start-up check of the test's hub connects once too, and
  // may count for a moment.
  auto attach = [](const OwnHub& hub) {
    for (int i = 0; i < 200; ++i) {
      auto c = std::make_unique<RawHubClient>(hub.socketPath());
      c->frame(kHello, {1, kProtocolVersion, 0});
      if (c->replyValue() == kProtocolVersion) return c;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return std::unique_ptr<RawHubClient>();
  };
  {
    OwnHub hub({"--max-connections-per-user", "2"});
    ASSERT_TRUE(hub.running());
    auto first = attach(hub), second = attach(hub);
    ASSERT_TRUE(first && second);
    EXPECT_EQ(
        refusedAs(PXM_INIT_TOO_MANY_OF_USER,
                  "too many connections of uid " + std::to_string(::geteuid()) + " (at most 2)"),
        0);
  }
  OwnHub hub({"--max-connections", "1"});
  ASSERT_TRUE(hub.running());
  auto only = attach(hub);
  ASSERT_TRUE(only);
  EXPECT_EQ(refusedAs(PXM_INIT_TOO_MANY, "too many connections (at most 1)"), 0);
}

}  // namespace
}  // namespace pxm
