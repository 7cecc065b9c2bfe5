#include "pxm/reclaimer.h"

#include <sys/mman.h>

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

void Reclaimer::takeMapping(void* mapping, size_t size) {
  blocks_.push_back(Block{{}, mapping, size});
  bytes_ += size;
}

size_t Reclaimer::release(size_t most) {
  size_t freed = 0;
  for (; freed < most && !blocks_.empty(); blocks_.pop_front()) {
    Block& block = blocks_.front();
    if (block.mapping) ::munmap(block.mapping, block.size);
    freed += block.size;
    bytes_ -= block.size;
  }
  return freed;
}

}  // namespace pxm
