#pragma once
// The frames that wait to be written to one peer of the hub. The hub never blocks on a peer:
// what the socket does not take now stays here until the socket is writable again.

#include <cstddef>
#include <cstdint>
#include <deque>
#include <unordered_map>
#include <vector>

namespace pxm {

class Reclaimer;

class OutQueue {
 public:
  enum class Result { kDrained, kPending, kError };

  // Frames dropped unwritten go to `reclaimer` when there is one, else back at once.
  explicit OutQueue(Reclaimer* reclaimer = nullptr) : reclaimer_(reclaimer) {}

  // `sender` is the connection whose frame this is, 0 for the hub's own.
  void push(std::vector<char> frame, uint64_t sender = 0);
  // Writes as much as the socket takes, several frames per call.
  Result flush(int fd);

  // Drops every frame not yet begun; a frame partly written stays, so that the stream
  // remains whole for what is pushed after it.
  void dropUnstarted();
  // Drops the frames of `sender` not yet begun.
  void dropFrom(uint64_t sender);
  // Drops everything, a frame partly written included: the stream is over.
  void clear();

  bool empty() const { return frames_.empty(); }
  // Bytes not yet written.
  size_t bytes() const { return bytes_; }
  // The sender with the most bytes here, 0 when none.
  uint64_t topSender() const;

 private:
  struct Frame {
    std::vector<char> bytes;
    uint64_t sender;
  };
  void popped(const Frame& frame);
  void dropped(Frame& frame);

  Reclaimer* const reclaimer_;
  std::deque<Frame> frames_;
  std::unordered_map<uint64_t, size_t> bySender_;
  size_t offset_ = 0;  // bytes of the front frame already written
  size_t bytes_ = 0;
};

}  // namespace pxm
