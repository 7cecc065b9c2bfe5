#pragma once
// The agent's SuperTrace buffer, simulated: blocks of trace data from the sources 0 to 4 (token,
// rtt 1 to 3, lpp), each with its size in 16-bit words, a sequence number and the times of its
// first and last word. The data itself is not kept: each source writes a counter, word n of a
// source since the buffer was set up being `word(source, n)`, so a block's data follows from
// where in its source's stream it starts; or, when the producers write trace records, a block
// keeps its records, whole. Producers append to the newest block of their source
// until it is full; the consumer takes from the oldest block. A recording overwrites the oldest
// blocks, a stream drops what does not fit.

#include <stdint.h>

#include <deque>
#include <vector>

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
    uint64_t firstWord = 0;     // the position of its first word in its source's stream
    std::vector<uint8_t> data;  // its records, when it holds records: `size` words
  };

  // The value of word `position` of `source`'s stream: the source in the top four bits, a
  // counter below.
  static uint16_t word(uint16_t source, uint64_t position) {
    return static_cast<uint16_t>(source << 12 | (position & 0xFFF));
  }
  // Appends `length` words of `block` from word `offset` on, big-endian, to `out`.
  static void appendData(const Block& block, uint32_t offset, uint32_t length,
                         std::vector<uint8_t>& out);

  SimulatedBuffer(uint64_t capacityWords, uint32_t blockWords)
      : capacity_(capacityWords), blockWords_(blockWords) {}

  // A new recording: empty, sequence numbers from 1.
  void reset();
  // Writes `words` from `source` at `now`. With `overwrite` the oldest blocks give way; without
  // it what does not fit is dropped. Gives the words written.
  uint64_t produce(uint16_t source, uint64_t words, const Time& now, bool overwrite);
  // Writes one record of `size` bytes (even) from `source`, in the newest block of the source
  // when it has room for all of it, else in a new one. False when it was dropped.
  bool produceRecord(uint16_t source, const uint8_t* record, size_t size, const Time& now,
                     bool overwrite);
  // Takes up to `words` from the oldest blocks; gives the words taken. The records among them
  // are appended to `records`, when given.
  uint64_t consume(uint64_t words, std::vector<uint8_t>* records = nullptr);

  uint64_t level() const { return level_; }
  uint64_t capacity() const { return capacity_; }
  uint32_t blockWords() const { return blockWords_; }
  uint64_t dropped() const { return dropped_; }
  const std::deque<Block>& blocks() const { return blocks_; }

 private:
  Block* openBlock(uint16_t source, const Time& now, uint64_t room);
  void makeRoom(uint64_t words);

  uint64_t capacity_;
  uint32_t blockWords_;
  uint64_t level_ = 0;
  uint64_t dropped_ = 0;
  uint16_t nextSequence_ = 1;
  uint64_t written_[kSources] = {};  // words of each source so far
  std::deque<Block> blocks_;         // oldest first
};

}  // namespace kvn::daxosim
