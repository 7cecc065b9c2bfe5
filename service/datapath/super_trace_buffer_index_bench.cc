// The statistics of `recorder status` over the largest indexes an agent can send: a full
// recording of five sources (65535 blocks, each source's blocks end to end, so about five
// overlap at any time), and indexes whose blocks all overlap. The peak load is also computed by
// the plain sweep over every pair of overlapping blocks, kept here as the reference; both must
// give the same numbers for every row before anything is timed. Each fast figure is printed
// beside its reference, and the ratios at the end.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "bench/smoke_flag.h"
#include "service/datapath/super_trace_buffer_index.h"
#include "tracing/log_capture.h"

namespace kvn {
namespace {

using Blocks = SuperTraceBufferIndex::Blocks;

constexpr uint32_t kBlockSize = 32768;
constexpr uint32_t kEpoch = 1700000000;  // wall time of the recordings, in seconds

bool g_smoke = false;

kvnSuperTimeS wallTime(int64_t micros) {
  return {static_cast<uint32_t>(kEpoch + micros / 1000000), static_cast<uint32_t>(micros % 1000000),
          static_cast<uint32_t>(micros % 40960000)};
}

kvnSuperBlockHeaderS header(uint16_t source, uint32_t size, uint16_t sequence, int64_t start,
                            int64_t end) {
  kvnSuperBlockHeaderS h{};
  h.source = source;
  h.address = 0x80000000u + sequence * kBlockSize;
  h.size = size;
  h.dmaInterrupts = static_cast<uint16_t>(std::clamp<uint32_t>(size / 1024, 1, 0xFFFF));
  h.errors = sequence % 97 == 0 ? 1 : 0;
  h.sequence = sequence;
  h.startTime = wallTime(start);
  h.endTime = wallTime(end);
  return h;
}

SuperTraceBufferIndex makeIndex(const std::vector<kvnSuperBlockHeaderS>& headers,
                                uint32_t blockSize = kBlockSize) {
  kvnSuperTraceBufferIndexS index{blockSize, static_cast<uint16_t>(headers.size())};
  return SuperTraceBufferIndex(index, headers.data());
}

// Five sources at their own rates (words per microsecond), each writing full-ish blocks one
// after the other with a short gap; sequence numbers in the order the blocks start. One block
// in a thousand is broken.
SuperTraceBufferIndex realisticIndex() {
  std::mt19937 rng(15);
  const double rates[5] = {0.05, 0.4, 0.3, 0.2, 1.5};
  int64_t next[5] = {0, 130, 270, 410, 550};
  std::vector<kvnSuperBlockHeaderS> headers;
  for (uint16_t seq = 0; headers.size() < 65535; ++seq) {
    const uint16_t source =
        static_cast<uint16_t>(std::min_element(next, next + 5) - next);  // the next to start
    const uint32_t size = kBlockSize / 2 + rng() % (kBlockSize / 2 + 1);
    const int64_t start = next[source];
    const int64_t end =
        start + static_cast<int64_t>(size / rates[source] * (0.9 + (rng() % 200) / 1000.0));
    headers.push_back(header(source, size, seq, start, end));
    if (seq % 1000 == 999) headers.back().size = kBlockSize + 1;
    next[source] = end + rng() % 50;
  }
  return makeIndex(headers);
}

// `count` blocks that all start within a millisecond and last 80 to 120 ms.
SuperTraceBufferIndex overlappingIndex(size_t count) {
  std::mt19937 rng(5);
  std::vector<kvnSuperBlockHeaderS> headers;
  for (size_t i = 0; i < count; ++i) {
    const int64_t start = rng() % 1000;
    const int64_t end = start + 80000 + rng() % 40000;
    headers.push_back(header(static_cast<uint16_t>(i % 5),
                             kBlockSize / 2 + rng() % (kBlockSize / 2), static_cast<uint16_t>(i),
                             start, end));
  }
  return makeIndex(headers);
}

// Made to defeat shortcuts: `count` blocks that all overlap, each starting and ending 1 us
// after the one before. With `size` 1 every window but a block's own holds less than a word of
// each; with sizes near 4 Gi words every sum may wrap.
SuperTraceBufferIndex staggeredIndex(size_t count, uint32_t size) {
  std::vector<kvnSuperBlockHeaderS> headers;
  for (size_t i = 0; i < count; ++i) {
    const int64_t start = static_cast<int64_t>(i);
    headers.push_back(header(static_cast<uint16_t>(i % 5), size, static_cast<uint16_t>(i), start,
                             start + 1000000));
  }
  return makeIndex(headers, 0xFFFFFFFF);
}

// The sweep as it reads: for each block by start, every later block that starts before it
// ends opens a window up to the earliest end among the blocks still running.
double referencePeakLoad(const SuperTraceBufferIndex& index, const Blocks& blocks) {
  Blocks sorted = blocks;
  std::stable_sort(sorted.begin(), sorted.end(), [&](uint16_t a, uint16_t b) {
    return index.blockStart(a) < index.blockStart(b);
  });
  const size_t n = sorted.size();
  std::vector<int64_t> start(n), end(n), duration(n);
  std::vector<uint32_t> size(n);
  for (size_t p = 0; p < n; ++p) {
    start[p] = index.blockStart(sorted[p]);
    end[p] = index.blockEnd(sorted[p]);
    duration[p] = index.blockDuration(sorted[p]);
    size[p] = index.blockHeaders()[sorted[p]].size;
  }
  double peak = 0;
  std::vector<size_t> active;
  for (size_t i = 0; i < n; ++i) {
    const int64_t windowEnd = end[i];
    active.clear();
    for (size_t j = i; j < n && start[j] < windowEnd; ++j) {
      active.push_back(j);
      const int64_t windowStart = start[j];
      int64_t limit = windowEnd;
      size_t kept = 0;
      for (size_t k : active) {
        if (end[k] <= windowStart) continue;
        if (end[k] < limit) limit = end[k];
        active[kept++] = k;
      }
      active.resize(kept);
      const int64_t window = limit - windowStart;
      uint32_t sum = 0;
      for (size_t k : active)
        sum = SuperTraceBufferIndex::addWindowShare(sum, size[k], duration[k], window);
      peak = std::max(peak, SuperTraceBufferIndex::kibPerSecond(sum, window));
    }
  }
  return peak;
}

const std::vector<std::vector<uint16_t>> kRows = {{0, 1, 2, 3, 4}, {4}, {1, 2, 3}, {0}};

size_t overlapCount() { return g_smoke ? 300 : 2000; }

const SuperTraceBufferIndex& realistic() {
  static const SuperTraceBufferIndex index = realisticIndex();
  return index;
}
const SuperTraceBufferIndex& overlapping() {
  static const SuperTraceBufferIndex index = overlappingIndex(overlapCount());
  return index;
}
const SuperTraceBufferIndex& overlappingMax() {
  static const SuperTraceBufferIndex index = overlappingIndex(65535);
  return index;
}

// Small indexes of every odd kind: blocks without wall time or without a duration, equal
// starts, shares below one word, sizes whose sum wraps, ends before starts.
SuperTraceBufferIndex oddIndex(std::mt19937& rng) {
  std::vector<kvnSuperBlockHeaderS> headers;
  const unsigned kind = rng() % 3;  // shares below one word, sums that wrap, or plain
  const size_t count = kind == 1 ? 2 + rng() % 4 : 1 + rng() % 60;
  for (size_t i = 0; i < count; ++i) {
    const int64_t start = rng() % 4 == 0 ? 100 : rng() % 2000;
    const int64_t end = start + static_cast<int64_t>(rng() % 3000) - 200;
    uint32_t size = kind == 0 ? 1 + rng() % 3 : 1 + rng() % kBlockSize;
    if (kind == 1) size = 0xF0000000u + rng() % 1000;
    kvnSuperBlockHeaderS h =
        header(static_cast<uint16_t>(rng() % 5), size, static_cast<uint16_t>(i), start, end);
    switch (kind == 1 ? 5 : rng() % 6) {
      case 0:  // no wall time: the BFN counts
        h.startTime.seconds = h.endTime.seconds = 7;
        h.startTime.bfn = rng();
        h.endTime.bfn = rng() % 2 ? h.startTime.bfn : rng();
        break;
      case 1:  // wall time that does not advance, and a BFN that does not either
        h.endTime = h.startTime;
        break;
      default:
        break;
    }
    headers.push_back(h);
  }
  kvnSuperTraceBufferIndexS index{0xFFFFFFFFu, static_cast<uint16_t>(headers.size())};
  return SuperTraceBufferIndex(index, headers.data());
}

bool samePeakLoad(const SuperTraceBufferIndex& index, const Blocks& blocks) {
  const double fast = index.peakLoad(blocks);
  const double reference = referencePeakLoad(index, blocks);
  if (fast == reference) return true;
  std::fprintf(stderr, "peak load differs over %zu blocks: %.17g, reference %.17g\n", blocks.size(),
               fast, reference);
  return false;
}

bool sameResults() {
  bool same = true;
  for (const auto* index : {&realistic(), &overlapping()})
    for (const auto& row : kRows) same = samePeakLoad(*index, index->select(row)) && same;
  for (uint32_t size : {1u, 0xF0000000u}) {
    const SuperTraceBufferIndex index = staggeredIndex(g_smoke ? 150 : 400, size);
    same = samePeakLoad(index, index.select(kRows[0])) && same;
  }
  // The largest index whose blocks all overlap is computed whole, within the budget.
  {
    log::LogCapture capture;
    overlappingMax().peakLoad(overlappingMax().select(kRows[0]));
    if (!capture.lines().empty()) {
      std::fprintf(stderr, "peak load of the largest overlapping index cut short\n");
      same = false;
    }
  }
  std::mt19937 rng(42);
  for (int round = 0; round < 2000; ++round) {
    const SuperTraceBufferIndex index = oddIndex(rng);
    same = samePeakLoad(index, index.select(kRows[0])) && same;
  }
  return same;
}

// Everything that `recorder status` works out for one agent: four rows.
void statusRows(const SuperTraceBufferIndex& index) {
  for (const auto& row : kRows) {
    const Blocks blocks = index.select(row);
    benchmark::DoNotOptimize(index.averageInterruptRate(blocks));
    benchmark::DoNotOptimize(index.peakInterruptRate(blocks));
    benchmark::DoNotOptimize(index.averageLoad(blocks));
    benchmark::DoNotOptimize(index.peakLoad(blocks));
    benchmark::DoNotOptimize(index.averageDmaSize(blocks));
    benchmark::DoNotOptimize(index.dataStart(blocks));
    benchmark::DoNotOptimize(index.dataDuration(blocks));
    benchmark::DoNotOptimize(index.dataSizeMiB(blocks));
    benchmark::DoNotOptimize(index.errorCount(blocks));
  }
}

template <bool kFast>
void peakLoadAllSources(benchmark::State& state, const SuperTraceBufferIndex& index) {
  const Blocks blocks = index.select(kRows[0]);
  for (auto _ : state)
    benchmark::DoNotOptimize(kFast ? index.peakLoad(blocks) : referencePeakLoad(index, blocks));
}

// The largest staggered indexes, too slow for the plain sweep.
void peakLoadStaggered(benchmark::State& state, uint32_t size) {
  const SuperTraceBufferIndex index = staggeredIndex(65535, size);
  const Blocks blocks = index.select(kRows[0]);
  for (auto _ : state) benchmark::DoNotOptimize(index.peakLoad(blocks));
}

void BM_StatusRows_Realistic(benchmark::State& s) {
  for (auto _ : s) statusRows(realistic());
}
void BM_StatusRows_OverlapMax(benchmark::State& s) {
  for (auto _ : s) statusRows(overlappingMax());
}
void BM_PeakLoadRealistic_Reference(benchmark::State& s) {
  peakLoadAllSources<false>(s, realistic());
}
void BM_PeakLoadRealistic_Fast(benchmark::State& s) { peakLoadAllSources<true>(s, realistic()); }
void BM_PeakLoadOverlap_Reference(benchmark::State& s) {
  peakLoadAllSources<false>(s, overlapping());
}
void BM_PeakLoadOverlap_Fast(benchmark::State& s) { peakLoadAllSources<true>(s, overlapping()); }

BENCHMARK(BM_StatusRows_Realistic)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StatusRows_OverlapMax)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PeakLoadRealistic_Reference)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PeakLoadRealistic_Fast)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PeakLoadOverlap_Reference)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PeakLoadOverlap_Fast)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(peakLoadStaggered, TinyShares_Fast, 1u)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(peakLoadStaggered, WrappingSums_Fast, 0xF0000000u)->Unit(benchmark::kMillisecond);

// The console report, and at the end each case as reference/fast.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.error_occurred) continue;
      const std::string& name = run.run_name.function_name;
      if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median")
        median_[name] = run.GetAdjustedCPUTime();
      else if (run.run_type == Run::RT_Iteration)
        perIteration_[name] = run.GetAdjustedCPUTime();
    }
    ConsoleReporter::ReportRuns(runs);
  }
  void Finalize() override {
    ConsoleReporter::Finalize();
    for (const auto& entry : median_) perIteration_[entry.first] = entry.second;
    for (const char* base : {"BM_PeakLoadRealistic", "BM_PeakLoadOverlap"}) {
      const auto ref = perIteration_.find(std::string(base) + "_Reference");
      const auto fast = perIteration_.find(std::string(base) + "_Fast");
      if (ref == perIteration_.end() || fast == perIteration_.end() || fast->second <= 0) continue;
      std::printf("%s: reference %.3f ms, fast %.3f ms: reference/fast = %.1fx\n", base + 3,
                  ref->second, fast->second, ref->second / fast->second);
    }
  }

 private:
  std::map<std::string, double> perIteration_;
  std::map<std::string, double> median_;
};

}  // namespace
}  // namespace kvn

int main(int argc, char** argv) {
  kvn::g_smoke = kvn::bench::SmokeFlag::take(argc, argv);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  if (!kvn::sameResults()) return 1;
  kvn::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
