#pragma once
// Memory that the hub gives up, handed back to the system a slice at a time. Freeing hundreds
// of MiB at once (a reader cut off with its queue full, hundreds of senders of large frames cut
// off or gone together) holds the loop for tens of milliseconds, and every process waits with
// it; the hub frees a slice per round instead. Blocks up to kSmall cost little to give back and
// go at once.

#include <cstddef>
#include <deque>
#include <vector>

namespace pxm {

class Reclaimer {
 public:
  static constexpr size_t kSmall = 64 * 1024;

  Reclaimer() = default;
  ~Reclaimer();
  Reclaimer(const Reclaimer&) = delete;
  Reclaimer& operator=(const Reclaimer&) = delete;

  void take(std::vector<char>&& bytes);
  // An anonymous mapping of `size` bytes.
  void takeMapping(void* mapping, size_t size);
  // Frees the oldest blocks until at least `most` bytes went, or none is left; gives how many
  // went.
  size_t release(size_t most);

  bool empty() const { return blocks_.empty(); }
  size_t bytes() const { return bytes_; }

 private:
  struct Block {
    std::vector<char> frame;
    void* mapping;  // when not a frame
    size_t size;
  };

  std::deque<Block> blocks_;
  size_t bytes_ = 0;
};

}  // namespace pxm
