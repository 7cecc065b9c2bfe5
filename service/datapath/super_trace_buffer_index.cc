#include "service/datapath/super_trace_buffer_index.h"

#include <string.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <functional>
#include <limits>
#include <queue>
#include <utility>

#include "base/check.h"
#include "tracing/log.h"
#include "util/clock/bfn.h"

namespace kvn {

namespace {

constexpr uint16_t kSources = 5;
constexpr uint32_t kWallTimeFrom = 0x58684680;  // 2017-01-01 00:00:00 UTC
constexpr int64_t kNotGiven = -1;

int64_t bfnDiff(uint32_t from, uint32_t to) {
  return std::chrono::duration_cast<std::chrono::microseconds>(bfnDuration(Bfn(from), Bfn(to)))
      .count();
}

int64_t bfnTime(uint32_t bfn) {
  return std::chrono::duration_cast<std::chrono::microseconds>(toDuration(Bfn(bfn))).count();
}

double kibPerSecond(double words, int64_t micros) {
  return SuperTraceBufferIndex::kibPerSecond(words, micros);
}

uint32_t addLoadTerm(uint32_t sum, uint32_t size, int64_t duration, int64_t window) {
  return SuperTraceBufferIndex::addWindowShare(sum, size, duration, window);
}

// The peak-load sweep without its cubic walk, giving the same numbers. The sweep opens a window
// for every pair of a block i and a block j at or after it (by start) that starts before i
// ends: from j's start to the earliest end among the blocks i to j still running then, which
// are the blocks of j's column S_j (those up to j that end after j starts) from i on. Three
// observations, each exact, let most pairs go unlooked at:
// - Within a column, going left adds blocks; while the earliest end stays, so does the window,
//   and with no wrap past 32 bits the leftmost of those pairs carries the most.
// - A block adds at most `size * window / duration`, so a window's load is at most 1953.125
//   KiB/s times the sum of its blocks' rates in words per microsecond (plus a hair for
//   rounding): columns and pairs whose bound is not above the best load so far are skipped.
// - A block adds nothing to a window in which its share stays below one word. In column j a
//   block's window is at most its end less j's start, so it stops counting for the bound once
//   the columns start too late for it.
// The columns with the highest bounds go first, so that the best load is high early. An index
// whose sums may wrap cannot be bounded; there every pair is summed, up to a budget, so that no
// index keeps the service busy for long.
class PeakLoadSweep {
 public:
  PeakLoadSweep(std::vector<int64_t> starts, std::vector<int64_t> ends,
                std::vector<int64_t> durations, std::vector<uint32_t> sizes)
      : s_(std::move(starts)),
        e_(std::move(ends)),
        d_(std::move(durations)),
        z_(std::move(sizes)),
        n_(s_.size()),
        rate_(n_, 0),
        minWindow_(n_, 0) {
    for (size_t k = 0; k < n_; ++k) {
      if (d_[k] <= 0 || e_[k] <= s_[k] || z_[k] == 0) continue;
      // The share is at most this in any window, whose length cannot pass e - s.
      if (z_[k] * (static_cast<double>(e_[k] - s_[k]) / d_[k]) < kOneWord) continue;
      rate_[k] = static_cast<double>(z_[k]) / d_[k];
      // Below this window the share is under `kOneWord`; a margin keeps that true in doubles.
      minWindow_[k] = kOneWord * d_[k] / z_[k] * (1 - 1e-9);
    }
  }

  double run() {
    computeColumnBounds();
    std::vector<size_t> order;
    for (size_t j = 0; j < n_; ++j)
      if (bound_[j] > 0) order.push_back(j);
    const size_t seeds = std::min<size_t>(order.size(), 4);
    std::partial_sort(order.begin(), order.begin() + seeds, order.end(),
                      [&](size_t a, size_t b) { return bound_[a] > bound_[b]; });
    std::vector<bool> done(n_, false);
    std::vector<size_t> members;
    for (size_t x = 0; x < seeds && budget_ > 0; ++x) {
      const size_t j = order[x];
      members.clear();
      for (size_t k = 0; k <= j; ++k)
        if (e_[k] > s_[j]) members.push_back(k);
      budget_ -= static_cast<int64_t>(j);
      column(j, members);
      done[j] = true;
    }
    // Then every column in order, its members kept up as blocks start and end.
    MinQueue<int64_t> byEnd;
    std::vector<bool> ended(n_, false);
    std::vector<size_t> running;
    size_t endedInRunning = 0;
    for (size_t j = 0; j < n_ && budget_ > 0; ++j) {
      byEnd.emplace(e_[j], j);
      running.push_back(j);
      while (!byEnd.empty() && byEnd.top().first <= s_[j]) {
        ended[byEnd.top().second] = true;
        ++endedInRunning;
        byEnd.pop();
      }
      const bool wanted = !done[j] && bound_[j] > best_;
      if (wanted || endedInRunning * 2 > running.size()) {
        running.erase(
            std::remove_if(running.begin(), running.end(), [&](size_t k) { return ended[k]; }),
            running.end());
        endedInRunning = 0;
      }
      if (wanted) column(j, running);
    }
    if (budget_ <= 0) TC_LOG_ERROR("Peak load of %zu blocks cut short after too many windows", n_);
    return best_;
  }

 private:
  // Block numbers by a time, earliest first.
  template <typename Time>
  using MinQueue = std::priority_queue<std::pair<Time, size_t>,
                                       std::vector<std::pair<Time, size_t>>, std::greater<>>;

  // Covers the rounding of the shares, of their cut sums, of the rates and their sums.
  static double boundOf(double rates) { return rates * 1953.125 * (1 + 1e-5); }
  bool mayWrap(double rates, int64_t maxWindow) const {
    return static_cast<double>(maxWindow) * rates * (1 + 1e-5) >= 4294967295.0;
  }

  // Whether block k may add a word in a window of column j, whose length is at most k's end
  // less j's start.
  bool reaches(size_t k, size_t j) const {
    return e_[k] > s_[j] && static_cast<double>(e_[k] - s_[j]) >= minWindow_[k];
  }

  // The bound of every column: the rates of the blocks that still reach it, summed in a tree
  // so that nothing is ever subtracted and the rounding stays relative.
  void computeColumnBounds() {
    bound_.assign(n_, 0);
    wraps_.assign(n_, false);
    size_t leaves = 1;
    while (leaves < n_) leaves *= 2;
    std::vector<double> tree(2 * leaves, 0);
    auto set = [&](size_t k, double v) {
      size_t p = leaves + k;
      tree[p] = v;
      for (p /= 2; p >= 1; p /= 2) tree[p] = tree[2 * p] + tree[2 * p + 1];
    };
    // By the latest start a block reaches, roughly; it leaves only when that is certain.
    MinQueue<double> byReach;
    int64_t maxEnd = std::numeric_limits<int64_t>::min();
    for (size_t j = 0; j < n_; ++j) {
      if (rate_[j] > 0) {
        set(j, rate_[j]);
        byReach.emplace(static_cast<double>(e_[j]) - minWindow_[j], j);
      }
      while (!byReach.empty() && !reaches(byReach.top().second, j)) {
        set(byReach.top().second, 0);
        byReach.pop();
      }
      maxEnd = std::max(maxEnd, e_[j]);
      if (maxEnd <= s_[j]) continue;  // nothing runs when j starts: no window
      const double rates = tree[1];
      wraps_[j] = mayWrap(rates, maxEnd - s_[j]);
      bound_[j] = wraps_[j] ? kNoBound : boundOf(rates);
    }
  }

  // The pairs (i, j) of column j; `members` is S_j in the sorted order.
  void column(size_t j, const std::vector<size_t>& members) {
    const bool wraps = wraps_[j];
    int64_t minEnd = std::numeric_limits<int64_t>::max();
    double rates = 0;
    for (size_t t = members.size(); t-- > 0 && budget_ > 0;) {
      const size_t k = members[t];
      minEnd = std::min(minEnd, e_[k]);
      if (rate_[k] > 0 && reaches(k, j)) rates += rate_[k];
      const bool leftmostOfItsWindow = t == 0 || e_[members[t - 1]] < minEnd;
      if (!wraps && (!leftmostOfItsWindow || boundOf(rates) <= best_)) continue;
      const int64_t window = minEnd - s_[j];
      uint32_t sum = 0;
      for (size_t u = t; u < members.size(); ++u)
        sum = addLoadTerm(sum, z_[members[u]], d_[members[u]], window);
      budget_ -= static_cast<int64_t>(members.size() - t);
      best_ = std::max(best_, kibPerSecond(sum, window));
    }
    budget_ -= static_cast<int64_t>(members.size());
  }

  static constexpr double kNoBound = std::numeric_limits<double>::infinity();
  // A share below this adds nothing to a sum below 2^32, the rounding of the addition included.
  static constexpr double kOneWord = 1 - 1.0 / (1 << 20);

  const std::vector<int64_t> s_;
  const std::vector<int64_t> e_;
  const std::vector<int64_t> d_;
  const std::vector<uint32_t> z_;
  const size_t n_;
  std::vector<double> rate_;       // words per microsecond; 0 for a block that never adds
  std::vector<double> minWindow_;  // the shortest window in which the block may add a word
  std::vector<double> bound_;
  std::vector<bool> wraps_;
  double best_ = 0;
  // Shares summed and column members looked at: a few tenths of a second at most.
  int64_t budget_ = 20000000;
};

}  // namespace

SuperTraceBufferIndex::SuperTraceBufferIndex(const kvnSuperTraceBufferIndexS& index,
                                             const kvnSuperBlockHeaderS* headers)
    : blockSize_(index.blockSize), blockHeaders_(index.numBlockHeaders) {
  if (!blockHeaders_.empty())
    memcpy(blockHeaders_.data(), headers, blockHeaders_.size() * sizeof(kvnSuperBlockHeaderS));
  KVNTRACE_ASSERT_TEXT(index.numBlockHeaders == blockHeaders_.size(),
                       "index.numBlockHeaders == _blockHeaders.size()");
}

bool SuperTraceBufferIndex::hasWallTime(const kvnSuperTimeS& time) {
  return time.seconds != 0xFFFFFFFF && time.microseconds != 0xFFFFFFFF &&
         time.seconds >= kWallTimeFrom;
}

int64_t SuperTraceBufferIndex::timeOf(const kvnSuperTimeS& time) {
  if (hasWallTime(time)) return int64_t{time.seconds} * 1000000 + time.microseconds;
  return bfnTime(time.bfn);
}

bool SuperTraceBufferIndex::hasWallTimes(uint16_t block) const {
  const kvnSuperBlockHeaderS& h = blockHeaders_[block];
  return hasWallTime(h.startTime) && hasWallTime(h.endTime);
}

bool SuperTraceBufferIndex::isValid(const kvnSuperBlockHeaderS& h) const {
  return h.source < kSources && h.address != 0 && h.size != 0 && h.size <= blockSize_ &&
         h.dmaInterrupts != 0 && h.sequence != 0xFFFF;
}

int64_t SuperTraceBufferIndex::blockDuration(uint16_t block) const {
  const kvnSuperBlockHeaderS& h = blockHeaders_[block];
  if (hasWallTimes(block)) {
    const int64_t d = timeOf(h.endTime) - timeOf(h.startTime);
    if (d > 0) return d;
  }
  return bfnDiff(h.startTime.bfn, h.endTime.bfn);
}

SuperTraceBufferIndex::Blocks SuperTraceBufferIndex::select(
    const std::vector<uint16_t>& sources) const {
  Blocks blocks;
  for (size_t b = 0; b < blockHeaders_.size(); ++b) {
    const kvnSuperBlockHeaderS& h = blockHeaders_[b];
    if (isValid(h) && std::find(sources.begin(), sources.end(), h.source) != sources.end())
      blocks.push_back(static_cast<uint16_t>(b));
  }
  std::stable_sort(blocks.begin(), blocks.end(), [this](uint16_t a, uint16_t b) {
    return blockHeaders_[a].sequence < blockHeaders_[b].sequence;
  });
  return blocks;
}

uint32_t SuperTraceBufferIndex::errorCount(const Blocks& blocks) const {
  uint32_t n = 0;
  for (uint16_t b : blocks) n += blockHeaders_[b].errors;
  return n;
}

uint32_t SuperTraceBufferIndex::interruptCount(const Blocks& blocks) const {
  uint32_t n = 0;
  for (uint16_t b : blocks) n += blockHeaders_[b].dmaInterrupts;
  return n;
}

uint64_t SuperTraceBufferIndex::wordCount(const Blocks& blocks) const {
  uint64_t n = 0;
  for (uint16_t b : blocks) n += blockHeaders_[b].size;
  return n;
}

uint32_t SuperTraceBufferIndex::dataSizeMiB(const Blocks& blocks) const {
  const uint32_t bytes = static_cast<uint32_t>(wordCount(blocks)) * 2u;
  return bytes >> 20;
}

double SuperTraceBufferIndex::averageInterruptRate(const Blocks& blocks) const {
  double sum = 0;
  size_t rated = 0;
  for (uint16_t b : blocks) {
    const int64_t d = blockDuration(b);
    if (d <= 0) continue;
    sum += (blockHeaders_[b].dmaInterrupts + 1) / static_cast<double>(d) * 1000;
    ++rated;
  }
  return rated == 0 ? 0 : sum / rated;
}

double SuperTraceBufferIndex::peakInterruptRate(const Blocks& blocks) const {
  double peak = 0;
  for (uint16_t b : blocks) {
    const int64_t d = blockDuration(b);
    if (d > 0)
      peak = std::max(peak, (blockHeaders_[b].dmaInterrupts + 1) / static_cast<double>(d) * 1000);
  }
  return peak;
}

SuperTraceBufferIndex::Span SuperTraceBufferIndex::dataSpan(const Blocks& blocks) const {
  if (blocks.empty()) return {0, 0};
  if (!hasWallTimes(blocks.front()))
    return {bfnTime(blockHeaders_[blocks.front()].startTime.bfn),
            bfnTime(blockHeaders_[blocks.back()].endTime.bfn)};
  Span span{std::numeric_limits<int64_t>::max(), std::numeric_limits<int64_t>::min()};
  for (uint16_t b : blocks) {
    span.start = std::min(span.start, blockStart(b));
    span.end = std::max(span.end, blockEnd(b));
  }
  return span;
}

SuperTraceBufferIndex::Span SuperTraceBufferIndex::blockSpan(uint16_t block) const {
  const kvnSuperBlockHeaderS& h = blockHeaders_[block];
  if (hasWallTimes(block)) return {timeOf(h.startTime), timeOf(h.endTime)};
  return {bfnTime(h.startTime.bfn), bfnTime(h.endTime.bfn)};
}

int64_t SuperTraceBufferIndex::dataStart(const Blocks& blocks) const {
  return dataSpan(blocks).start;
}

int64_t SuperTraceBufferIndex::dataEnd(const Blocks& blocks) const { return dataSpan(blocks).end; }

int64_t SuperTraceBufferIndex::dataDuration(const Blocks& blocks) const {
  if (blocks.empty()) return 0;
  if (hasWallTimes(blocks.front())) {
    const Span span = dataSpan(blocks);
    if (span.end - span.start > 0) return span.end - span.start;
  }
  // Without wall time each source's blocks are laid end to end by their BFNs, gaps included.
  int64_t longest = 0;
  for (uint16_t source = 0; source < kSources; ++source) {
    int64_t sum = 0;
    const kvnSuperBlockHeaderS* previous = nullptr;
    for (uint16_t b : blocks) {
      const kvnSuperBlockHeaderS& h = blockHeaders_[b];
      if (h.source != source) continue;
      if (previous != nullptr) sum += bfnDiff(previous->endTime.bfn, h.startTime.bfn);
      sum += bfnDiff(h.startTime.bfn, h.endTime.bfn);
      previous = &h;
    }
    longest = std::max(longest, sum);
  }
  return longest;
}

double SuperTraceBufferIndex::averageLoad(const Blocks& blocks) const {
  const int64_t d = dataDuration(blocks);
  if (d <= 0) return 0;
  return kibPerSecond(static_cast<double>(wordCount(blocks)), d);
}

double SuperTraceBufferIndex::kibPerSecond(double words, int64_t micros) {
  return words / (static_cast<double>(micros) * 8 / 15625);
}

uint32_t SuperTraceBufferIndex::addWindowShare(uint32_t sum, uint32_t size, int64_t duration,
                                               int64_t window) {
  if (duration <= 0) return sum;
  const double s = static_cast<double>(sum) + size * (static_cast<double>(window) / duration);
  if (!(s > 0)) return 0;
  if (s < 4294967296.0) return static_cast<uint32_t>(s);
  return static_cast<uint32_t>(std::fmod(s, 4294967296.0));
}

double SuperTraceBufferIndex::peakLoad(const Blocks& blocks) const {
  Blocks sorted = blocks;
  std::vector<int64_t> starts(blockHeaders_.size());
  for (uint16_t b : sorted) starts[b] = blockStart(b);
  std::stable_sort(sorted.begin(), sorted.end(),
                   [&](uint16_t a, uint16_t b) { return starts[a] < starts[b]; });
  std::vector<int64_t> s, e, d;
  std::vector<uint32_t> z;
  for (uint16_t b : sorted) {
    s.push_back(starts[b]);
    e.push_back(blockEnd(b));
    d.push_back(blockDuration(b));
    z.push_back(static_cast<uint32_t>(blockHeaders_[b].size));
  }
  return PeakLoadSweep(std::move(s), std::move(e), std::move(d), std::move(z)).run();
}

double SuperTraceBufferIndex::averageDmaSize(const Blocks& blocks) const {
  const uint32_t interrupts = interruptCount(blocks);
  if (interrupts == 0) return 0;
  return (wordCount(blocks) / interrupts) * 2 / 1024.0;
}

SuperTraceBufferIndex::Window SuperTraceBufferIndex::dumpWindow(const Blocks& blocks,
                                                                int64_t intervalStart,
                                                                int64_t duration) const {
  if (intervalStart == kNotGiven && duration != kNotGiven) {
    const int64_t end = dataEnd(blocks);
    return {end - duration, end};
  }
  const int64_t start = intervalStart != kNotGiven ? intervalStart : dataStart(blocks);
  return {start, duration != kNotGiven ? start + duration : dataEnd(blocks)};
}

SuperTraceBufferIndex::Blocks SuperTraceBufferIndex::blocksInWindow(const Blocks& blocks,
                                                                    Window window) const {
  Blocks kept;
  for (uint16_t b : blocks) {
    const Span span = blockSpan(b);
    if (span.start <= window.end && span.end >= window.start) kept.push_back(b);
  }
  return kept;
}

}  // namespace kvn
