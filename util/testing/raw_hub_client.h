#pragma once
// A raw connection to the mailbox hub that speaks the wire directly, to send what the library
// never would and to see what the hub answers. Every wait is bounded.

#include <poll.h>
#include <stdint.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "pxm/frame.h"

namespace kvn::testing {

class RawHubClient {
 public:
  explicit RawHubClient(const std::string& path) {
    fd_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un addr{};
    addr.sun_family = AF_UNIX;
    std::strncpy(addr.sun_path, path.c_str(), sizeof addr.sun_path - 1);
    connected_ = ::connect(fd_, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0;
  }
  ~RawHubClient() { ::close(fd_); }
  RawHubClient(const RawHubClient&) = delete;
  RawHubClient& operator=(const RawHubClient&) = delete;
  bool connected() const { return connected_; }

  void write(const void* data, size_t size) {
    ASSERT_EQ(::send(fd_, data, size, MSG_NOSIGNAL), static_cast<ssize_t>(size));
  }
  // A frame of `type` whose body is `words` in host order, then `tail`.
  void frame(uint16_t type, const std::vector<uint32_t>& words, const std::string& tail = "") {
    std::vector<char> out(sizeof(pxm::FrameHeader) + 4 * words.size() + tail.size());
    const pxm::FrameHeader header{static_cast<uint32_t>(out.size() - sizeof header), type, 0};
    std::memcpy(out.data(), &header, sizeof header);
    std::memcpy(out.data() + sizeof header, words.data(), 4 * words.size());
    std::memcpy(out.data() + sizeof header + 4 * words.size(), tail.data(), tail.size());
    write(out.data(), out.size());
  }
  // Reads one reply frame, its data too, and gives its value; 0xdead when none came.
  uint32_t replyValue() {
    char head[16];
    if (!read(head, sizeof head) || pxm::loadU32(head) < 8) return 0xdeadu;
    std::vector<char> rest(pxm::loadU32(head) - 8);
    return read(rest.data(), rest.size()) ? pxm::loadU32(head + 12) : 0xdeadu;
  }
  // Reads to the end of the stream and gives the whole frames that came, in order.
  std::vector<std::pair<uint16_t, std::string>> framesToEnd() {
    std::string bytes;
    char buf[65536];
    while (readable()) {
      const ssize_t n = ::recv(fd_, buf, sizeof buf, 0);
      if (n <= 0) break;
      bytes.append(buf, static_cast<size_t>(n));
    }
    std::vector<std::pair<uint16_t, std::string>> frames;
    for (size_t at = 0; bytes.size() - at >= sizeof(pxm::FrameHeader);) {
      pxm::FrameHeader h;
      std::memcpy(&h, bytes.data() + at, sizeof h);
      if (bytes.size() - at - sizeof h < h.length) break;
      frames.emplace_back(h.type, bytes.substr(at + sizeof h, h.length));
      at += sizeof h + h.length;
    }
    return frames;
  }
  // True when the hub closes the connection within the bound.
  bool cutOff() {
    char buf[4096];
    while (readable()) {
      const ssize_t n = ::recv(fd_, buf, sizeof buf, 0);
      if (n == 0 || (n < 0 && errno == ECONNRESET)) return true;
      if (n < 0) return false;
    }
    return false;
  }

 private:
  static constexpr int kLimitMs = 10000;

  bool readable() {
    pollfd pfd{fd_, POLLIN, 0};
    return ::poll(&pfd, 1, kLimitMs) == 1;
  }
  bool read(char* to, size_t size) {
    for (size_t got = 0; got < size;) {
      if (!readable()) return false;
      const ssize_t n = ::recv(fd_, to + got, size - got, 0);
      if (n <= 0) return false;
      got += static_cast<size_t>(n);
    }
    return true;
  }

  int fd_ = -1;
  bool connected_ = false;
};

}  // namespace kvn::testing
