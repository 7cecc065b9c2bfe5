#include "pxm/out_queue.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <vector>

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

}  // namespace
}  // namespace pxm
