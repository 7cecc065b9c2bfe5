#pragma once
// The frames that wait to be written to one peer of the hub. The hub never blocks on a peer:
// what the socket does not take now stays here until the socket is writable again.

#include <cstddef>
#include <deque>
#include <vector>

namespace pxm {

class OutQueue {
 public:
  enum class Result { kDrained, kPending, kError };

  void push(std::vector<char> frame);
  // Writes as much as the socket takes, several frames per call.
  Result flush(int fd);

  // Drops every frame not yet begun; a frame partly written stays, so that the stream
  // remains whole for what is pushed after it.
  void dropUnstarted();
  // Drops everything, a frame partly written included: the stream is over.
  void clear();

  bool empty() const { return frames_.empty(); }
  // Bytes not yet written.
  size_t bytes() const { return bytes_; }

 private:
  std::deque<std::vector<char>> frames_;
  size_t offset_ = 0;  // bytes of the front frame already written
  size_t bytes_ = 0;
};

}  // namespace pxm
