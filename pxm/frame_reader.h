#pragma once
// Cuts the byte stream of a non-blocking socket into frames. Each call reads once (what the
// socket has, up to the free room of the buffer) and hands every complete frame to the
// caller's function; a frame that arrives in pieces is kept until it is whole. The header is
// checked as soon as it is in, so a peer that announces a frame beyond kMaxFrameBody or a
// nonzero flag word is refused before its body is read.

#include <sys/types.h>

#include <cstddef>
#include <vector>

#include "pxm/frame.h"

namespace pxm {

class FrameReader {
 public:
  enum class Status {
    kOk,         // read what there was (possibly nothing); go on
    kClosed,     // orderly end of stream between frames
    kTruncated,  // end of stream in the middle of a frame
    kMalformed,  // a header that no peer of ours sends
    kRejected,   // the frame function refused a frame
    kError,      // the socket failed
  };

  FrameReader();

  // `onFrame(const FrameHeader&, const char* body)` returns false to refuse the frame, which
  // stops the reading. The body pointer is valid during the call only.
  template <typename Fn>
  Status readFrom(int fd, Fn&& onFrame) {
    const Status status = fill(fd);
    if (status != Status::kOk && status != Status::kClosed && status != Status::kTruncated)
      return status;
    while (end_ - start_ >= sizeof(FrameHeader)) {
      const FrameHeader header = peekHeader();
      if (!wellFormed(header)) return Status::kMalformed;
      const size_t whole = sizeof(FrameHeader) + header.length;
      if (end_ - start_ < whole) {
        reserveFor(whole);
        break;
      }
      const char* body = buffer_.data() + start_ + sizeof(FrameHeader);
      start_ += whole;
      if (!onFrame(header, body)) return Status::kRejected;
    }
    if (start_ == end_) reset();
    if (status == Status::kClosed && start_ != end_) return Status::kTruncated;
    if (status == Status::kOk && end_ - start_ >= sizeof(FrameHeader) && !wellFormed(peekHeader()))
      return Status::kMalformed;
    return status;
  }

  // True while part of a frame waits for the rest.
  bool midFrame() const { return start_ != end_; }

  static bool wellFormed(const FrameHeader& header) {
    return header.flags == 0 && header.length <= kMaxFrameBody;
  }

 private:
  Status fill(int fd);
  FrameHeader peekHeader() const;
  void reserveFor(size_t whole);
  void reset();

  std::vector<char> buffer_;
  size_t start_ = 0;  // first unread byte
  size_t end_ = 0;    // one past the last byte read
};

}  // namespace pxm
