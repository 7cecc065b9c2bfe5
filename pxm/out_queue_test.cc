#include "pxm/out_queue.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <vector>

#include "pxm/reclaimer.h"

namespace pxm {
namespace {

TEST(OutQueueTest, KeepsWhatTheSocketDoesNotTakeAndWritesItInOrderLater) {
  int fds[2];
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, fds), 0);
  int small = 16 * 1024;
  ::setsockopt(fds[0], SOL_SOCKET, SO_SNDBUF, &small, sizeof small);
  ::setsockopt(fds[1], SOL_SOCKET, SO_RCVBUF, &small, sizeof small);

  OutQueue queue;
  std::string expected;
  for (int i = 0; i < 8; ++i) {
    std::vector<char> frame(100 * 1024 + i);
    for (size_t j = 0; j < frame.size(); ++j) frame[j] = static_cast<char>((i * 31 + j) % 253);
    expected.append(frame.data(), frame.size());
    queue.push(std::move(frame));
  }
  EXPECT_EQ(queue.bytes(), expected.size());
  EXPECT_EQ(queue.flush(fds[0]), OutQueue::Result::kPending);
  EXPECT_FALSE(queue.empty());
  EXPECT_LT(queue.bytes(), expected.size());

  std::string received;
  std::vector<char> buf(64 * 1024);
  for (int rounds = 0; received.size() < expected.size() && rounds < 100000; ++rounds) {
    const ssize_t n = ::recv(fds[1], buf.data(), buf.size(), 0);
    if (n > 0) received.append(buf.data(), static_cast<size_t>(n));
    if (!queue.empty()) queue.flush(fds[0]);
  }
  EXPECT_TRUE(queue.empty());
  EXPECT_EQ(queue.bytes(), 0u);
  EXPECT_TRUE(received == expected);

  ::close(fds[1]);
  queue.push(std::vector<char>(10, 'x'));
  EXPECT_EQ(queue.flush(fds[0]), OutQueue::Result::kError);
  ::close(fds[0]);
}

// Frames are counted by sender: the one with the most, and its frames dropped but for one
// already begun, which stays whole in the stream and is counted until it is out.
TEST(OutQueueTest, CountsBySenderAndDropsOnlyUnstartedFramesOfOne) {
  int fds[2];
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, fds), 0);
  OutQueue queue;
  queue.push(std::vector<char>(400 * 1024, 'a'), 2);
  queue.push(std::vector<char>(10, 'b'), 1);
  queue.push(std::vector<char>(20, 'c'), 2);
  queue.push(std::vector<char>(30, 'd'));
  EXPECT_EQ(queue.topSender(), 2u);
  ASSERT_EQ(queue.flush(fds[0]), OutQueue::Result::kPending);  // the first frame in part
  const size_t left = queue.bytes() - 60;
  queue.dropFrom(2);
  EXPECT_EQ(queue.bytes(), left + 40) << "its frame begun stays";
  EXPECT_EQ(queue.topSender(), 2u);
  std::vector<char> buf(64 * 1024);
  for (int i = 0; i < 10000 && !queue.empty(); ++i) {
    while (::recv(fds[1], buf.data(), buf.size(), 0) > 0) {
    }
    queue.flush(fds[0]);
  }
  EXPECT_TRUE(queue.empty());
  EXPECT_EQ(queue.topSender(), 0u);
  ::close(fds[0]);
  ::close(fds[1]);
}

// What a queue drops unwritten waits in its reclaimer, large frames only, and goes back a slice
// at a time, oldest first.
TEST(OutQueueTest, DroppedLargeFramesWaitInTheReclaimerUntilReleased) {
  constexpr size_t kLarge = 1u << 20;
  Reclaimer reclaimer;
  OutQueue queue(&reclaimer);
  queue.push(std::vector<char>(kLarge, 'a'), 2);
  queue.push(std::vector<char>(2 * kLarge, 'b'), 3);
  queue.push(std::vector<char>(10, 'c'), 2);
  queue.dropFrom(2);
  EXPECT_EQ(reclaimer.bytes(), kLarge) << "the small frame went at once";
  queue.clear();
  EXPECT_EQ(reclaimer.bytes(), 3 * kLarge);
  EXPECT_EQ(reclaimer.release(1), kLarge);
  EXPECT_EQ(reclaimer.bytes(), 2 * kLarge);
  EXPECT_EQ(reclaimer.release(SIZE_MAX), 2 * kLarge);
  EXPECT_TRUE(reclaimer.empty());
}

}  // namespace
}  // namespace pxm
