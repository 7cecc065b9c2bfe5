#pragma once
// The agent's SuperTrace buffer, simulated: blocks of trace data from the sources 0 to 4 (token,
// rtt 1 to 3, lpp), each with its size in 16-bit words, a sequence number and the times of its
// first and last word. The data itself is not kept: only how much there is, in which block.
// Producers append to the newest block of their source until it is full; the consumer takes from
// the oldest block. A recording overwrites the oldest blocks, a stream drops what does not fit.

#include <stdint.h>

#include <deque>

namespace kvn::daxosim {

class SimulatedBuffer {
 public:
  static constexpr uint16_t kSources = 5;

  struct Time {
    uint32_t seconds = 0;  // since 1970
    uint32_t microseconds = 0;
    uint32_t bfn = 0;
  };
  struct Block {
    uint16_t source = 0;
    uint32_t size = 0;  // words
    uint16_t sequence = 0;
    uint16_t writes = 0;  // one DMA interrupt each
    uint16_t errors = 0;
    Time startTime;
    Time endTime;
  };

  SimulatedBuffer(uint64_t capacityWords, uint32_t blockWords)
      : capacity_(capacityWords), blockWords_(blockWords) {}

  // A new recording: empty, sequence numbers from 1.
  void reset();
  // Writes `words` from `source` at `now`. With `overwrite` the oldest blocks give way; without
  // it what does not fit is dropped. Gives the words written.
  uint64_t produce(uint16_t source, uint64_t words, const Time& now, bool overwrite);
  // Takes up to `words` from the oldest blocks; gives the words taken.
  uint64_t consume(uint64_t words);

  uint64_t level() const { return level_; }
  uint64_t capacity() const { return capacity_; }
  uint32_t blockWords() const { return blockWords_; }
  uint64_t dropped() const { return dropped_; }
  const std::deque<Block>& blocks() const { return blocks_; }

 private:
  Block* openBlock(uint16_t source, const Time& now);

  uint64_t capacity_;
  uint32_t blockWords_;
  uint64_t level_ = 0;
  uint64_t dropped_ = 0;
  uint16_t nextSequence_ = 1;
  std::deque<Block> blocks_;  // oldest first
};

}  // namespace kvn::daxosim
