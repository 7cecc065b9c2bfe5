#include "daxo-sim/simulated_buffer.h"

#include <algorithm>

#include "base/big_endian.h"

namespace kvn::daxosim {

void SimulatedBuffer::reset() {
  blocks_.clear();
  level_ = 0;
  dropped_ = 0;
  nextSequence_ = 1;
  for (uint64_t& w : written_) w = 0;
}

void SimulatedBuffer::appendData(const Block& block, uint32_t offset, uint32_t length,
                                 std::vector<uint8_t>& out) {
  for (uint64_t i = block.firstWord + offset; i < block.firstWord + offset + length; ++i) {
    appendBe16(out, word(block.source, i));
  }
}

// The newest block of the source while it has room, else a new one.
SimulatedBuffer::Block* SimulatedBuffer::openBlock(uint16_t source, const Time& now) {
  for (auto it = blocks_.rbegin(); it != blocks_.rend(); ++it)
    if (it->source == source) {
      if (it->size < blockWords_) return &*it;
      break;
    }
  Block b;
  b.source = source;
  b.sequence = nextSequence_++;
  if (nextSequence_ == 0xFFFF) nextSequence_ = 1;  // 0xFFFF marks a block that is not valid
  b.startTime = b.endTime = now;
  b.firstWord = written_[source];
  blocks_.push_back(b);
  return &blocks_.back();
}

uint64_t SimulatedBuffer::produce(uint16_t source, uint64_t words, const Time& now,
                                  bool overwrite) {
  if (overwrite)
    while (level_ + std::min(words, capacity_) > capacity_ && !blocks_.empty()) {
      level_ -= blocks_.front().size;
      blocks_.pop_front();
    }
  const uint64_t room = capacity_ - level_;
  const uint64_t fits = std::min(words, room);
  dropped_ += words - fits;
  for (uint64_t left = fits; left > 0;) {
    Block* b = openBlock(source, now);
    const uint64_t n = std::min<uint64_t>(left, blockWords_ - b->size);
    b->size += static_cast<uint32_t>(n);
    ++b->writes;
    b->endTime = now;
    written_[source] += n;
    left -= n;
  }
  level_ += fits;
  return fits;
}

uint64_t SimulatedBuffer::consume(uint64_t words) {
  uint64_t taken = 0;
  while (taken < words && !blocks_.empty()) {
    Block& b = blocks_.front();
    const uint64_t n = std::min<uint64_t>(words - taken, b.size);
    b.size -= static_cast<uint32_t>(n);
    b.firstWord += n;
    taken += n;
    if (b.size == 0) blocks_.pop_front();
  }
  level_ -= taken;
  return taken;
}

}  // namespace kvn::daxosim
