#include "service/datapath/super_trace_buffer_index.h"

#include <string.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <functional>
#include <limits>
#include <queue>
#include <utility>

#include "util/bfn.h"
#include "util/template_proxy.h"

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

// The peak-load sweep without its quadratic walk. The sweep looks at a window for every pair of
// a first block i and a later block j that starts before i ends: from j's start to the earliest
// end among the blocks from i to j that are still running then (j's column S_j). The same
// numbers come out of three observations, each exact:
// - Going left through a column adds blocks, and while the earliest end stays the same the
//   window does too; with no share below 0 and no wrap the leftmost such pair carries the most.
// - No window can hold more than the blocks' own rates: a share is at most `size * window /
//   duration`, so a window's load is at most 1953.125 KiB/s per word/us of the rates summed
//   (plus rounding). Columns and pairs below the best load so far are skipped.
// - A block whose share could never reach one word (`size * its own length / duration` below
//   1) never adds anything, and counts with no rate.
// The columns with the highest bounds go first so the best load is high early.
class PeakLoadSweep {
 public:
  PeakLoadSweep(std::vector<int64_t> starts, std::vector<int64_t> ends,
                std::vector<int64_t> durations, std::vector<uint32_t> sizes)
      : s_(std::move(starts)),
        e_(std::move(ends)),
        d_(std::move(durations)),
        z_(std::move(sizes)),
        n_(s_.size()),
        rate_(n_) {
    for (size_t k = 0; k < n_; ++k) {
      // A rate in 1/65536 words per microsecond, rounded up so that bounds stay above.
      if (d_[k] <= 0 || e_[k] <= s_[k]) continue;
      const double maxShare = z_[k] * (static_cast<double>(e_[k] - s_[k]) / d_[k]);
      if (maxShare < 0.999) continue;
      const uint64_t d = static_cast<uint64_t>(d_[k]);
      rate_[k] = (uint64_t{z_[k]} * 65536 + d - 1) / d;
    }
  }

  double run() {
    computeColumnBounds();
    std::vector<size_t> order;
    for (size_t j = 0; j < n_; ++j)
      if (bound_[j] > 0) order.push_back(j);
    // A few columns with the highest bounds first, each found by a walk over all blocks.
    const size_t seeds = std::min<size_t>(order.size(), 4);
    std::partial_sort(order.begin(), order.begin() + seeds, order.end(),
                      [&](size_t a, size_t b) { return bound_[a] > bound_[b]; });
    std::vector<bool> done(n_, false);
    std::vector<size_t> members;
    for (size_t x = 0; x < seeds; ++x) {
      const size_t j = order[x];
      members.clear();
      for (size_t k = 0; k <= j; ++k)
        if (e_[k] > s_[j]) members.push_back(k);
      column(j, members);
      done[j] = true;
    }
    // Then every column in order, its members kept up as blocks start and end.
    std::priority_queue<std::pair<int64_t, size_t>, std::vector<std::pair<int64_t, size_t>>,
                        std::greater<>>
        byEnd;
    std::vector<bool> ended(n_, false);
    std::vector<size_t> running;
    size_t endedInRunning = 0;
    for (size_t j = 0; j < n_; ++j) {
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
    return best_;
  }

 private:
  // The bound of a set of blocks with these rates, and whether its sum could wrap in a window
  // of at most `maxWindow`.
  double boundOf(uint64_t rate, size_t live, int64_t maxWindow) const {
    if (rate == 0) return 0;
    const double words = static_cast<double>(maxWindow) * (static_cast<double>(rate) / 65536);
    if (words * (1 + 1e-9) + live + 1 >= 4294967295.0) return kNoBound;
    return (static_cast<double>(rate) * (1953.125 / 65536) + live * 0.001) * (1 + 1e-9);
  }

  void computeColumnBounds() {
    bound_.assign(n_, 0);
    std::priority_queue<std::pair<int64_t, size_t>, std::vector<std::pair<int64_t, size_t>>,
                        std::greater<>>
        byEnd;
    uint64_t rate = 0;
    size_t live = 0;
    int64_t maxEnd = std::numeric_limits<int64_t>::min();
    for (size_t j = 0; j < n_; ++j) {
      byEnd.emplace(e_[j], j);
      rate += rate_[j];
      live += rate_[j] > 0;
      maxEnd = std::max(maxEnd, e_[j]);
      while (!byEnd.empty() && byEnd.top().first <= s_[j]) {
        const size_t k = byEnd.top().second;
        rate -= rate_[k];
        live -= rate_[k] > 0;
        byEnd.pop();
      }
      if (!byEnd.empty()) bound_[j] = boundOf(rate, live, maxEnd - s_[j]);
    }
  }

  // All pairs (i, j) of column j; `members` is S_j in the sorted order.
  void column(size_t j, const std::vector<size_t>& members) {
    const bool mayWrap = bound_[j] == kNoBound;
    int64_t minEnd = std::numeric_limits<int64_t>::max();
    int64_t maxEnd = std::numeric_limits<int64_t>::min();
    for (size_t k : members) maxEnd = std::max(maxEnd, e_[k]);
    uint64_t rate = 0;
    size_t live = 0;
    for (size_t t = members.size(); t-- > 0;) {
      const size_t k = members[t];
      minEnd = std::min(minEnd, e_[k]);
      rate += rate_[k];
      live += rate_[k] > 0;
      const bool leftmostOfItsWindow = t == 0 || e_[members[t - 1]] < minEnd;
      if (!mayWrap && !leftmostOfItsWindow) continue;
      if (!mayWrap && boundOf(rate, live, maxEnd - s_[j]) <= best_) continue;
      const int64_t window = minEnd - s_[j];
      uint32_t sum = 0;
      for (size_t u = t; u < members.size(); ++u)
        sum = addLoadTerm(sum, z_[members[u]], d_[members[u]], window);
      best_ = std::max(best_, kibPerSecond(sum, window));
    }
  }

  static constexpr double kNoBound = std::numeric_limits<double>::infinity();

  const std::vector<int64_t> s_;
  const std::vector<int64_t> e_;
  const std::vector<int64_t> d_;
  const std::vector<uint32_t> z_;
  const size_t n_;
  std::vector<uint64_t> rate_;
  std::vector<double> bound_;
  double best_ = 0;
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
    z.push_back(blockHeaders_[b].size);
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
