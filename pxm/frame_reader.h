#pragma once
// Cuts the byte stream of a non-blocking socket into frames. Each call reads once (what the
// socket has, up to the free room of the buffer) and hands every complete frame to the
// caller's function; a frame that arrives in pieces is kept until it is whole. The header is
// checked as soon as it is in, so a peer that announces a frame beyond kMaxFrameBody or a
// nonzero flag word is refused before its body is read.
//
// Memory follows the bytes that came, not the length a header announces: the buffer is taken
// at the first read, doubles only when it is full of one frame's bytes (at most to that
// frame's size), shrinks back once the frame is done, and release() gives it up while nothing
// is held. Beyond kChunk the buffer is a mapping of its own, which grows without copying what
// it holds: hundreds of large frames growing at once cost the hub no copies.

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

#include "pxm/frame.h"

namespace pxm {

class Reclaimer;

class FrameReader {
 public:
  enum class Status {
    kOk,         // read what there was (possibly nothing); go on
    kClosed,     // orderly end of stream between frames
    kTruncated,  // end of stream in the middle of a frame
    kMalformed,  // a header that no peer of ours sends
    kRejected,   // the frame function refused a frame
    kError,      // the socket failed
    kNoRoom,     // the buffer had to grow by more than allowed; nothing was read
  };

  // Room for many small frames per read.
  static constexpr size_t kChunk = 64 * 1024;

  // A buffer given up goes to `reclaimer` when there is one, else back at once.
  explicit FrameReader(Reclaimer* reclaimer = nullptr) : reclaimer_(reclaimer) {}
  ~FrameReader();
  FrameReader(const FrameReader&) = delete;
  FrameReader& operator=(const FrameReader&) = delete;

  // `onFrame(const FrameHeader&, const char* body)` returns false to refuse the frame, which
  // stops the reading. The body pointer is valid during the call only. The buffer grows by
  // at most `maxGrowth` bytes in this call; growth() then tells how much it wanted. At most
  // `maxRead` bytes (and at most kChunk) are read.
  template <typename Fn>
  Status readFrom(int fd, Fn&& onFrame, size_t maxGrowth = SIZE_MAX, size_t maxRead = kChunk) {
    const Status status = fill(fd, maxGrowth, maxRead);
    if (status != Status::kOk && status != Status::kClosed && status != Status::kTruncated)
      return status;
    while (end_ - start_ >= sizeof(FrameHeader)) {
      const FrameHeader header = peekHeader();
      if (!wellFormed(header)) return Status::kMalformed;
      const size_t whole = sizeof(FrameHeader) + header.length;
      if (end_ - start_ < whole) break;
      const char* body = buffer_ + start_ + sizeof(FrameHeader);
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
  // What the reader holds: the bytes of a frame in part, or the whole buffer once it grew
  // beyond kChunk for a large frame.
  size_t held() const { return size_ > kChunk ? size_ : end_ - start_; }
  // How much the buffer would grow at the next read (after kNoRoom).
  size_t growth() const;
  // Gives the buffer back while it holds nothing.
  void release();
  // Drops what it holds, a frame in part included, and gives the buffer back.
  void discard() {
    start_ = end_;
    release();
  }

  static bool wellFormed(const FrameHeader& header) {
    return header.flags == 0 && header.length <= kMaxFrameBody;
  }

 private:
  Status fill(int fd, size_t maxGrowth, size_t maxRead);
  void grow(size_t size);
  FrameHeader peekHeader() const;
  void reset();

  Reclaimer* const reclaimer_;
  char* buffer_ = nullptr;  // malloc'd up to kChunk, else mapped; untouched room costs no
                            // memory
  size_t size_ = 0;
  size_t start_ = 0;  // first unread byte
  size_t end_ = 0;    // one past the last byte read
};

}  // namespace pxm
