#include "pxm/frame_reader.h"

#include <sys/socket.h>

#include <cerrno>
#include <cstring>

namespace pxm {

namespace {
// Room for many small frames per read; a larger frame grows the buffer for its own time.
constexpr size_t kChunk = 64 * 1024;
}  // namespace

FrameReader::FrameReader() : buffer_(kChunk) {}

FrameReader::Status FrameReader::fill(int fd) {
  if (end_ == buffer_.size()) {
    // Only the unread tail is worth keeping.
    std::memmove(buffer_.data(), buffer_.data() + start_, end_ - start_);
    end_ -= start_;
    start_ = 0;
    if (end_ == buffer_.size()) buffer_.resize(buffer_.size() * 2);
  }
  for (;;) {
    const ssize_t n = ::recv(fd, buffer_.data() + end_, buffer_.size() - end_, MSG_DONTWAIT);
    if (n > 0) {
      end_ += static_cast<size_t>(n);
      return Status::kOk;
    }
    if (n == 0) return Status::kClosed;
    if (errno == EINTR) continue;
    if (errno == EAGAIN || errno == EWOULDBLOCK) return Status::kOk;
    return Status::kError;
  }
}

FrameHeader FrameReader::peekHeader() const {
  FrameHeader header;
  std::memcpy(&header, buffer_.data() + start_, sizeof header);
  return header;
}

void FrameReader::reserveFor(size_t whole) {
  if (buffer_.size() - start_ >= whole) return;
  std::memmove(buffer_.data(), buffer_.data() + start_, end_ - start_);
  end_ -= start_;
  start_ = 0;
  if (buffer_.size() < whole) buffer_.resize(whole);
}

void FrameReader::reset() {
  start_ = end_ = 0;
  // A big frame is over: give its room back.
  if (buffer_.size() > kChunk) {
    buffer_.resize(kChunk);
    buffer_.shrink_to_fit();
  }
}

}  // namespace pxm
