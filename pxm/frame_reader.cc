#include "pxm/frame_reader.h"

#include <sys/mman.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

#include "pxm/reclaimer.h"

namespace pxm {

FrameReader::~FrameReader() {
  start_ = end_;
  release();
}

size_t FrameReader::growth() const {
  if (!buffer_) return kChunk;
  if (end_ - start_ < size_) return 0;  // compacting makes room
  // Full of one frame: double, but never beyond what that frame needs.
  const size_t whole = sizeof(FrameHeader) + peekHeader().length;
  return std::min(size_ * 2, std::max(whole, size_)) - size_;
}

FrameReader::Status FrameReader::fill(int fd, size_t maxGrowth, size_t maxRead) {
  if (end_ == size_) {
    const size_t more = growth();
    if (more > maxGrowth) return Status::kNoRoom;
    // Only the unread tail is worth keeping.
    if (start_ > 0) std::memmove(buffer_, buffer_ + start_, end_ - start_);
    end_ -= start_;
    start_ = 0;
    if (more > 0) grow(size_ + more);
  }
  for (;;) {
    // At most a chunk per read, so that one pass over many busy peers stays short.
    const size_t most = std::min({size_ - end_, kChunk, std::max<size_t>(maxRead, 1)});
    const ssize_t n = ::recv(fd, buffer_ + end_, most, MSG_DONTWAIT);
    if (n > 0) {
      end_ += static_cast<size_t>(n);
      return Status::kOk;
    }
    // A peer that closes with our answer unread resets the stream: an end like any other.
    if (n == 0 || errno == ECONNRESET) return Status::kClosed;
    if (errno == EINTR) continue;
    if (errno == EAGAIN || errno == EWOULDBLOCK) return Status::kOk;
    return Status::kError;
  }
}

FrameHeader FrameReader::peekHeader() const {
  FrameHeader header;
  std::memcpy(&header, buffer_ + start_, sizeof header);
  return header;
}

void FrameReader::reset() {
  start_ = end_ = 0;
  // A big frame is over: give its room back.
  if (size_ > kChunk) release();
}

void FrameReader::grow(size_t size) {
  void* grown;
  if (size <= kChunk) {
    grown = std::realloc(buffer_, size);
    if (!grown) throw std::bad_alloc();
  } else if (size_ <= kChunk) {
    grown = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (grown == MAP_FAILED) throw std::bad_alloc();
    std::memcpy(grown, buffer_, end_);
    std::free(buffer_);
  } else {
    // The pages move with their page tables, not by copying.
    grown = ::mremap(buffer_, size_, size, MREMAP_MAYMOVE);
    if (grown == MAP_FAILED) throw std::bad_alloc();
  }
  buffer_ = static_cast<char*>(grown);
  size_ = size;
}

void FrameReader::release() {
  if (start_ != end_) return;
  if (size_ <= kChunk)
    std::free(buffer_);
  else if (reclaimer_)
    reclaimer_->takeMapping(buffer_, size_);
  else
    ::munmap(buffer_, size_);
  buffer_ = nullptr;
  size_ = start_ = end_ = 0;
}

}  // namespace pxm
