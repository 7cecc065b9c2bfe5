#include "pxm/reclaimer.h"

#include <cstdlib>

namespace pxm {

Reclaimer::~Reclaimer() { release(bytes_); }

void Reclaimer::take(std::vector<char>&& bytes) {
  const size_t size = bytes.capacity();
  if (size <= kSmall) {
    std::vector<char>().swap(bytes);
    return;
  }
  blocks_.push_back(Block{std::move(bytes), nullptr, size});
  bytes_ += size;
}

void Reclaimer::take(char* block, size_t size) {
  if (!block) return;
  if (size <= kSmall) {
    std::free(block);
    return;
  }
  blocks_.push_back(Block{{}, block, size});
  bytes_ += size;
}

size_t Reclaimer::release(size_t most) {
  size_t freed = 0;
  for (; freed < most && !blocks_.empty(); blocks_.pop_front()) {
    Block& block = blocks_.front();
    std::free(block.raw);
    freed += block.size;
    bytes_ -= block.size;
  }
  return freed;
}

}  // namespace pxm
