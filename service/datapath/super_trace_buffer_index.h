#pragma once
// The directory of the blocks that a recording left in an agent's buffer, and the statistics
// over it that `recorder status` prints and `recorder dump` selects by. Built from an index
// confirm whose headers are already in host order; holds its own copy.
//
// Every query takes a list of block numbers as `select` gives it. Times are microseconds: a
// time field with wall time counts from 1970, one without counts from the origin of the BFN.

#include <stdint.h>

#include <vector>

#include "service/signals/super_trace_signals.h"

namespace kvn {

class SuperTraceBufferIndex {
 public:
  using Blocks = std::vector<uint16_t>;

  // The part of a recording that `recorder dump` fetches, in microseconds.
  struct Window {
    int64_t start;
    int64_t end;
  };

  // `headers` holds `index.numBlockHeaders` headers; the caller checks that the message does.
  SuperTraceBufferIndex(const kvnSuperTraceBufferIndexS& index,
                        const kvnSuperBlockHeaderS* headers);

  uint32_t blockSize() const { return blockSize_; }
  const std::vector<kvnSuperBlockHeaderS>& blockHeaders() const { return blockHeaders_; }

  // The valid blocks of the given sources, by `sequence`.
  Blocks select(const std::vector<uint16_t>& sources) const;

  uint32_t errorCount(const Blocks& blocks) const;
  uint32_t interruptCount(const Blocks& blocks) const;
  uint64_t wordCount(const Blocks& blocks) const;
  // The size in MiB as the status table shows it: bytes counted in 32 bits, so above 4 GiB it
  // wraps.
  uint32_t dataSizeMiB(const Blocks& blocks) const;

  // DMA interrupts per millisecond.
  double averageInterruptRate(const Blocks& blocks) const;
  double peakInterruptRate(const Blocks& blocks) const;
  // KiB per second.
  double averageLoad(const Blocks& blocks) const;
  double peakLoad(const Blocks& blocks) const;
  // KiB.
  double averageDmaSize(const Blocks& blocks) const;

  int64_t dataStart(const Blocks& blocks) const;
  int64_t dataEnd(const Blocks& blocks) const;
  int64_t dataDuration(const Blocks& blocks) const;

  // The window of a dump: `intervalStart` and `duration` as given, -1 for either when not.
  Window dumpWindow(const Blocks& blocks, int64_t intervalStart, int64_t duration) const;
  // The blocks that reach into the window, each whole, in their order.
  Blocks blocksInWindow(const Blocks& blocks, Window window) const;

  // One block's times and length; the duration falls back to the BFN when the wall time is
  // missing or does not advance.
  int64_t blockStart(uint16_t block) const { return timeOf(blockHeaders_[block].startTime); }
  int64_t blockEnd(uint16_t block) const { return timeOf(blockHeaders_[block].endTime); }
  int64_t blockDuration(uint16_t block) const;

  // The peak-load sweep's arithmetic, for a window of `window` microseconds: each block that
  // overlaps it adds `size * (window / duration)` to an unsigned 32-bit sum that is cut to a
  // whole number after each addition (and wraps past 32 bits); a block without a duration adds
  // nothing. The sum is then a load over the window.
  static uint32_t addWindowShare(uint32_t sum, uint32_t size, int64_t duration, int64_t window);
  // 16-bit words over microseconds, in KiB per second.
  static double kibPerSecond(double words, int64_t micros);

  static bool hasWallTime(const kvnSuperTimeS& time);
  static int64_t timeOf(const kvnSuperTimeS& time);

 private:
  struct Span {
    int64_t start;
    int64_t end;
  };
  Span dataSpan(const Blocks& blocks) const;
  Span blockSpan(uint16_t block) const;
  bool hasWallTimes(uint16_t block) const;
  bool isValid(const kvnSuperBlockHeaderS& header) const;

  uint32_t blockSize_;
  std::vector<kvnSuperBlockHeaderS> blockHeaders_;
};

}  // namespace kvn
