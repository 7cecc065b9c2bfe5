#include "service/datapath/super_trace_buffer_index.h"

#include <gtest/gtest.h>

#include <vector>

#include "service/datapath/recorder_test_fixture.h"
#include "service/datapath/recorder_time.h"
#include "util/clock/bfn.h"

namespace kvn::testing {
namespace {

using Blocks = SuperTraceBufferIndex::Blocks;

constexpr int64_t kT0 = int64_t{kSuperT} * 1000000;
const std::vector<uint16_t> kAll = {0, 1, 2, 3, 4};

kvnSuperTimeS noWall(uint32_t frame) { return {5, 0, Bfn::of(frame, 0, 0, 0).value()}; }

SuperTraceBufferIndex indexOf(const std::vector<kvnSuperBlockHeaderS>& headers,
                              uint32_t blockSize = 8192) {
  const kvnSuperTraceBufferIndexS index{blockSize, static_cast<uint16_t>(headers.size())};
  return SuperTraceBufferIndex(index, headers.data());
}

TEST(SuperTraceBufferIndexTest, OnlyValidBlocksOfTheSourcesCountInSequenceOrder) {
  const kvnSuperTimeS t = superTime(0);
  std::vector<kvnSuperBlockHeaderS> h = {
      superBlock(4, 5, 1000, 1, t, t, 3),   // 0
      superBlock(1, 2, 3000, 2, t, t, 4),   // 1
      superBlock(0, 0xFFFF, 100, 1, t, t),  // 2 never written
      superBlock(0, 7, 8193, 1, t, t),      // 3 larger than a block
      superBlock(0, 8, 100, 0, t, t),       // 4 no DMA interrupt count
      superBlock(5, 9, 100, 1, t, t),       // 5 no such source
      superBlock(0, 10, 100, 1, t, t),      // 6 no address, below
      superBlock(0, 11, 0, 1, t, t),        // 7 empty
      superBlock(0, 1, 8192, 6, t, t, 1)};  // 8
  h[6].address = 0;
  const SuperTraceBufferIndex index = indexOf(h);
  const Blocks all = index.select(kAll);
  EXPECT_EQ(all, (Blocks{8, 1, 0}));
  EXPECT_EQ(index.select({4}), (Blocks{0}));
  EXPECT_EQ(index.select({1, 2, 3}), (Blocks{1}));
  EXPECT_EQ(index.errorCount(all), 8u);
  EXPECT_EQ(index.interruptCount(all), 9u);
  EXPECT_EQ(index.wordCount(all), 12192u);
  // 12192 / 9 = 1354 words a DMA in whole words, 2708 bytes.
  EXPECT_DOUBLE_EQ(index.averageDmaSize(all), 2708 / 1024.0);
}

TEST(SuperTraceBufferIndexTest, StatisticsOverWallTime) {
  // a: 0..1000 us, 1001 words, 2 interrupts; b: 500..2500 us, 4000 words, 10 interrupts.
  const SuperTraceBufferIndex index =
      indexOf({superBlock(1, 1, 1001, 1, superTime(0), superTime(1000)),
               superBlock(4, 2, 4000, 9, superTime(500), superTime(2500))});
  const Blocks all = index.select(kAll);
  EXPECT_EQ(index.blockDuration(0), 1000);
  EXPECT_DOUBLE_EQ(index.averageInterruptRate(all), (2.0 + 5.0) / 2);
  EXPECT_DOUBLE_EQ(index.peakInterruptRate(all), 5.0);
  EXPECT_EQ(index.dataStart(all), kT0);
  EXPECT_EQ(index.dataEnd(all), kT0 + 2500);
  EXPECT_EQ(index.dataDuration(all), 2500);
  EXPECT_DOUBLE_EQ(index.averageLoad(all), 5001 / (2500 * 8 / 15625.0));
  // The busiest window is 500..1000 us: a's share 500.5 words is cut to 500 before b's 1000
  // are added: 1500 words in 500 us.
  EXPECT_DOUBLE_EQ(index.peakLoad(all), 1500 / (500 * 8 / 15625.0));
  EXPECT_DOUBLE_EQ(index.peakLoad({0}), 1001 / (1000 * 8 / 15625.0));
  EXPECT_DOUBLE_EQ(index.averageDmaSize(all), 500 * 2 / 1024.0);
}

TEST(SuperTraceBufferIndexTest, WithoutWallTimeTheBfnCounts) {
  const uint32_t valid = 0x58684680;  // 2017-01-01
  EXPECT_TRUE(SuperTraceBufferIndex::hasWallTime({valid, 0, 0}));
  EXPECT_FALSE(SuperTraceBufferIndex::hasWallTime({valid - 1, 0, 0}));
  EXPECT_FALSE(SuperTraceBufferIndex::hasWallTime({valid, 0xFFFFFFFF, 0}));
  EXPECT_FALSE(SuperTraceBufferIndex::hasWallTime({0xFFFFFFFF, 0, 0}));

  // c wraps the counter (30 ms); d follows c on source 2 after a gap of 20 ms and lasts 20 ms;
  // e is on source 3; f has wall time that stands still, and falls back to its BFN (10 ms).
  const SuperTraceBufferIndex index =
      indexOf({superBlock(2, 1, 300, 2, noWall(4094), noWall(1)),  // c
               superBlock(2, 3, 300, 2, noWall(3), noWall(5)),     // d
               superBlock(3, 2, 300, 2, noWall(0), noWall(2)),     // e
               superBlock(1, 4, 300, 2, superTime(0, Bfn::of(10, 0, 0, 0).value()),
                          superTime(0, Bfn::of(11, 0, 0, 0).value()))});  // f
  const Blocks rtt = index.select({1, 2, 3});
  ASSERT_EQ(rtt, (Blocks{0, 2, 1, 3}));
  EXPECT_EQ(index.blockDuration(0), 30000);
  EXPECT_EQ(index.blockDuration(3), 10000);
  EXPECT_DOUBLE_EQ(index.peakInterruptRate({0}), 3 / 30000.0 * 1000);
  // The first and the last block's BFNs, whatever lies between.
  EXPECT_EQ(index.dataStart(rtt), 40940000);
  EXPECT_EQ(index.dataEnd(rtt), 110000);
  // Source 2: 30 + 20 + 20 ms; source 3: 20 ms; source 1: 10 ms.
  EXPECT_EQ(index.dataDuration(rtt), 70000);
  EXPECT_EQ(index.dataDuration({3}), 10000);
  EXPECT_EQ(index.dataStart({3}), kT0);
}

TEST(SuperTraceBufferIndexTest, EmptyIndexGivesZerosAndTheEpoch) {
  const SuperTraceBufferIndex index = indexOf({});
  const Blocks none = index.select(kAll);
  EXPECT_TRUE(none.empty());
  EXPECT_EQ(formatTimestamp(index.dataStart(none)), "1970-01-01 00:00:00.000000");
  EXPECT_EQ(index.dataDuration(none), 0);
  for (double v : {index.averageInterruptRate(none), index.peakInterruptRate(none),
                   index.averageLoad(none), index.peakLoad(none), index.averageDmaSize(none)})
    EXPECT_EQ(v, 0);
  EXPECT_EQ(index.dataSizeMiB(none), 0u);
}

TEST(SuperTraceBufferIndexTest, DataSizeIsCountedInThirtyTwoBits) {
  const SuperTraceBufferIndex index =
      indexOf({superBlock(0, 1, 0x50000000, 1, superTime(0), superTime(10)),
               superBlock(0, 2, 0x70000000, 1, superTime(10), superTime(20))},
              0xFFFFFFFF);
  EXPECT_EQ(index.dataSizeMiB({0}), 2560u);
  // 0xC0000000 words are 6 GiB; doubled in 32 bits they are 2 GiB.
  EXPECT_EQ(index.wordCount({0, 1}), 0xC0000000u);
  EXPECT_EQ(index.dataSizeMiB({0, 1}), 2048u);
}

TEST(SuperTraceBufferIndexTest, DumpWindowKeepsWholeBlocksThatReachIntoIt) {
  const SuperTraceBufferIndex index =
      indexOf({superBlock(1, 1, 10, 1, superTime(0), superTime(1000)),
               superBlock(1, 2, 10, 1, superTime(500), superTime(2500)),
               superBlock(1, 3, 10, 1, superTime(3000), superTime(4000))});
  const Blocks all = index.select(kAll);
  auto dumped = [&](int64_t intervalStart, int64_t duration) {
    return index.blocksInWindow(all, index.dumpWindow(all, intervalStart, duration));
  };
  // The last 1.5 ms: from 2500, where the second block ends.
  EXPECT_EQ(dumped(-1, 1500), (Blocks{1, 2}));
  EXPECT_EQ(dumped(kT0 + 1000, -1), (Blocks{0, 1, 2}));
  EXPECT_EQ(dumped(kT0 + 100, 300), (Blocks{0}));
  EXPECT_EQ(dumped(kT0 + 2000, 1000), (Blocks{1, 2}));  // the last starts as it ends
  EXPECT_EQ(dumped(kT0 + 5000, -1), (Blocks{}));
  EXPECT_EQ(index.dumpWindow(all, -1, -1).end, kT0 + 4000);
}

}  // namespace
}  // namespace kvn::testing
