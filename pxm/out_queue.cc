#include "pxm/out_queue.h"

#include <sys/socket.h>
#include <sys/uio.h>

#include <cerrno>

namespace pxm {

namespace {
constexpr size_t kMaxIov = 64;
}  // namespace

void OutQueue::push(std::vector<char> frame) {
  bytes_ += frame.size();
  frames_.push_back(std::move(frame));
}

void OutQueue::dropUnstarted() {
  const size_t keep = offset_ > 0 ? 1 : 0;
  while (frames_.size() > keep) frames_.pop_back();
  bytes_ = keep ? frames_.front().size() - offset_ : 0;
}

void OutQueue::clear() {
  frames_.clear();
  offset_ = 0;
  bytes_ = 0;
}

OutQueue::Result OutQueue::flush(int fd) {
  while (!frames_.empty()) {
    iovec iov[kMaxIov];
    size_t count = 0;
    for (auto it = frames_.begin(); it != frames_.end() && count < kMaxIov; ++it, ++count) {
      const size_t skip = count == 0 ? offset_ : 0;
      iov[count].iov_base = it->data() + skip;
      iov[count].iov_len = it->size() - skip;
    }
    msghdr msg{};
    msg.msg_iov = iov;
    msg.msg_iovlen = count;
    const ssize_t n = ::sendmsg(fd, &msg, MSG_DONTWAIT | MSG_NOSIGNAL);
    if (n < 0) {
      if (errno == EINTR) continue;
      if (errno == EAGAIN || errno == EWOULDBLOCK) return Result::kPending;
      return Result::kError;
    }
    size_t written = static_cast<size_t>(n);
    bytes_ -= written;
    while (written > 0) {
      const size_t left = frames_.front().size() - offset_;
      if (written < left) {
        offset_ += written;
        break;
      }
      written -= left;
      offset_ = 0;
      frames_.pop_front();
    }
  }
  return Result::kDrained;
}

}  // namespace pxm
