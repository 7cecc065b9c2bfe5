#include "pxm/out_queue.h"

#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <cerrno>

#include "pxm/reclaimer.h"

namespace pxm {

namespace {
constexpr size_t kMaxIov = 64;
}  // namespace

void OutQueue::push(std::vector<char> frame, uint64_t sender) {
  bytes_ += frame.size();
  if (sender) bySender_[sender] += frame.size();
  frames_.push_back(Frame{std::move(frame), sender});
}

void OutQueue::popped(const Frame& frame) {
  if (!frame.sender) return;
  auto it = bySender_.find(frame.sender);
  if ((it->second -= frame.bytes.size()) == 0) bySender_.erase(it);
}

void OutQueue::dropped(Frame& frame) {
  popped(frame);
  if (reclaimer_) reclaimer_->take(std::move(frame.bytes));
}

uint64_t OutQueue::topSender() const {
  uint64_t top = 0;
  size_t most = 0;
  for (const auto& entry : bySender_)
    if (entry.second > most) {
      most = entry.second;
      top = entry.first;
    }
  return top;
}

void OutQueue::dropUnstarted() {
  const size_t keep = offset_ > 0 ? 1 : 0;
  while (frames_.size() > keep) {
    dropped(frames_.back());
    frames_.pop_back();
  }
  bytes_ = keep ? frames_.front().bytes.size() - offset_ : 0;
}

void OutQueue::dropFrom(uint64_t sender) {
  if (!bySender_.count(sender)) return;
  auto from = frames_.begin() + (offset_ > 0 ? 1 : 0);
  auto kept = std::stable_partition(from, frames_.end(),
                                    [sender](const Frame& f) { return f.sender != sender; });
  for (auto it = kept; it != frames_.end(); ++it) {
    bytes_ -= it->bytes.size();
    dropped(*it);
  }
  frames_.erase(kept, frames_.end());
}

void OutQueue::clear() {
  if (reclaimer_)
    for (Frame& frame : frames_) reclaimer_->take(std::move(frame.bytes));
  frames_.clear();
  bySender_.clear();
  offset_ = 0;
  bytes_ = 0;
}

OutQueue::Result OutQueue::flush(int fd) {
  while (!frames_.empty()) {
    iovec iov[kMaxIov];
    size_t count = 0;
    for (auto it = frames_.begin(); it != frames_.end() && count < kMaxIov; ++it, ++count) {
      const size_t skip = count == 0 ? offset_ : 0;
      iov[count].iov_base = it->bytes.data() + skip;
      iov[count].iov_len = it->bytes.size() - skip;
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
      const size_t left = frames_.front().bytes.size() - offset_;
      if (written < left) {
        offset_ += written;
        break;
      }
      written -= left;
      offset_ = 0;
      popped(frames_.front());
      frames_.pop_front();
    }
  }
  return Result::kDrained;
}

}  // namespace pxm
