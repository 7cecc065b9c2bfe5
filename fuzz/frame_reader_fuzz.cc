// Feeds the input to the hub's frame reader through a socket, in pieces whose size the first
// byte chooses, and checks what it hands over against a plain reading of the same bytes: the
// same frames in the same order, and the same verdict at the end (closed between frames,
// truncated, malformed, or refused by the frame function, which refuses type 999).

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "pxm/frame_reader.h"

namespace {

using pxm::FrameHeader;
using pxm::FrameReader;
using Status = FrameReader::Status;

constexpr uint16_t kRefused = 999;
// A frame announced above this is never whole in an input of at most 64 KiB; it would read as
// one of this size does, only with the reader's room grown to it, which slows the run to a
// crawl. Such inputs are skipped.
constexpr uint32_t kLargest = 1u << 20;
constexpr Status kSkip = Status::kOk;

struct Frame {
  uint16_t type;
  std::string body;
  bool operator==(const Frame& o) const { return type == o.type && body == o.body; }
};

// The frames of `data` read in one piece, and how the reading ends.
Status reference(const uint8_t* data, size_t size, std::vector<Frame>& frames) {
  size_t at = 0;
  while (size - at >= sizeof(FrameHeader)) {
    FrameHeader h;
    std::memcpy(&h, data + at, sizeof h);
    if (!FrameReader::wellFormed(h)) return Status::kMalformed;
    if (h.length > kLargest) return kSkip;
    if (size - at - sizeof h < h.length) return Status::kTruncated;
    frames.push_back(
        {h.type, std::string(reinterpret_cast<const char*>(data + at + sizeof h), h.length)});
    at += sizeof h + h.length;
    if (h.type == kRefused) return Status::kRejected;
  }
  return at == size ? Status::kClosed : Status::kTruncated;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // Within one socket buffer, so that the writes below never wait.
  if (size < 1 || size > 64 * 1024) return 0;
  const size_t piece = data[0] == 0 ? size : data[0];
  ++data;
  --size;

  std::vector<Frame> expected;
  const Status verdict = reference(data, size, expected);
  if (verdict == kSkip) return 0;

  int fds[2];
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds) != 0) return 0;
  int sndbuf = 256 * 1024;
  ::setsockopt(fds[1], SOL_SOCKET, SO_SNDBUF, &sndbuf, sizeof sndbuf);

  FrameReader reader;
  std::vector<Frame> got;
  auto onFrame = [&got](const FrameHeader& h, const char* body) {
    got.push_back({h.type, std::string(body, h.length)});
    return h.type != kRefused;
  };
  Status status = Status::kOk;
  for (size_t at = 0; at < size && status == Status::kOk; at += piece) {
    const size_t n = std::min(piece, size - at);
    if (::write(fds[1], data + at, n) != static_cast<ssize_t>(n)) __builtin_trap();
    status = reader.readFrom(fds[0], onFrame);
  }
  ::close(fds[1]);
  for (int rounds = 0; status == Status::kOk; ++rounds) {
    if (rounds > 1000) __builtin_trap();  // the end of the stream must come through
    status = reader.readFrom(fds[0], onFrame);
  }
  ::close(fds[0]);

  if (got != expected) __builtin_trap();
  if (status != verdict) __builtin_trap();
  return 0;
}
