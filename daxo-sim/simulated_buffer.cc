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
  if (!block.data.empty()) {
    const size_t from = std::min<size_t>(block.data.size(), size_t{offset} * 2);
    const size_t to = std::min<size_t>(block.data.size(), from + size_t{length} * 2);
    out.insert(out.end(), block.data.begin() + static_cast<std::ptrdiff_t>(from),
               block.data.begin() + static_cast<std::ptrdiff_t>(to));
    return;
  }
  for (uint64_t i = block.firstWord + offset; i < block.firstWord + offset + length; ++i) {
    appendBe16(out, word(block.source, i));
  }
}

// The newest block of the source while it has room for `room` words, else a new one.
SimulatedBuffer::Block* SimulatedBuffer::openBlock(uint16_t source, const Time& now,
                                                   uint64_t room) {
  for (auto it = blocks_.rbegin(); it != blocks_.rend(); ++it)
    if (it->source == source) {
      if (it->size + room <= blockWords_) return &*it;
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

void SimulatedBuffer::makeRoom(uint64_t words) {
  while (level_ + std::min(words, capacity_) > capacity_ && !blocks_.empty()) {
    level_ -= blocks_.front().size;
    blocks_.pop_front();
  }
}

bool SimulatedBuffer::produceRecord(uint16_t source, const uint8_t* record, size_t size,
                                    const Time& now, bool overwrite) {
  const uint64_t words = size / 2;
  if (overwrite) makeRoom(words);
  if (level_ + words > capacity_ || words > blockWords_) {
    dropped_ += words;
    return false;
  }
  Block* b = openBlock(source, now, words);
  b->data.insert(b->data.end(), record, record + size);
  b->size += static_cast<uint32_t>(words);
  ++b->writes;
  b->endTime = now;
  written_[source] += words;
  level_ += words;
  return true;
}

uint64_t SimulatedBuffer::produce(uint16_t source, uint64_t words, const Time& now,
                                  bool overwrite) {
  if (overwrite) makeRoom(words);
  const uint64_t room = capacity_ - level_;
  const uint64_t fits = std::min(words, room);
  dropped_ += words - fits;
  for (uint64_t left = fits; left > 0;) {
    Block* b = openBlock(source, now, 1);
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

uint64_t SimulatedBuffer::consume(uint64_t words, std::vector<uint8_t>* records) {
  uint64_t taken = 0;
  while (taken < words && !blocks_.empty()) {
    Block& b = blocks_.front();
    const uint64_t n = std::min<uint64_t>(words - taken, b.size);
    if (!b.data.empty()) {
      const auto end = b.data.begin() + static_cast<std::ptrdiff_t>(n * 2);
      if (records) records->insert(records->end(), b.data.begin(), end);
      b.data.erase(b.data.begin(), end);
    }
    b.size -= static_cast<uint32_t>(n);
    b.firstWord += n;
    taken += n;
    if (b.size == 0) blocks_.pop_front();
  }
  level_ -= taken;
  return taken;
}

}  // namespace kvn::daxosim
