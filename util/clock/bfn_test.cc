#include "util/clock/bfn.h"

#include <gtest/gtest.h>

#include "tracing/log_capture.h"

namespace kvn {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

TEST(BfnTest, FieldsGiveTicksOfOneFifteenPointThreeSixMegahertz) {
  EXPECT_EQ(toDuration(Bfn(0)), nanoseconds(0));
  EXPECT_EQ(toDuration(Bfn::of(1, 0, 0, 0)), milliseconds(10));
  // 1 sub-frame = 1024 ticks, 1 chip = 4 ticks, 1 fraction = 1 tick; 3125/48 ns each, cut.
  EXPECT_EQ(toDuration(Bfn::of(0, 1, 0, 0)), nanoseconds(1024 * 3125 / 48));
  EXPECT_EQ(toDuration(Bfn::of(0, 0, 1, 0)), nanoseconds(4 * 3125 / 48));
  EXPECT_EQ(toDuration(Bfn::of(0, 0, 0, 15)), nanoseconds(15 * 3125 / 48));
  EXPECT_EQ(toDuration(Bfn::of(4095, 150, 255, 15)),
            nanoseconds(((4095ull * 150 + 150) * 256 + 255) * 4 + 15) * 3125 / 48);
}

TEST(BfnTest, DurationAllowsForTheWrapOfTheCounter) {
  EXPECT_EQ(bfnDuration(Bfn::of(7, 3, 2, 1), Bfn::of(7, 3, 2, 1)), nanoseconds(0));
  EXPECT_EQ(bfnDuration(Bfn::of(10, 0, 0, 0), Bfn::of(12, 0, 0, 0)), milliseconds(20));
  EXPECT_EQ(bfnDuration(Bfn::of(4095, 0, 0, 0), Bfn::of(0, 0, 0, 0)), milliseconds(10));
  EXPECT_EQ(bfnDuration(Bfn::of(12, 0, 0, 0), Bfn::of(10, 0, 0, 0)), milliseconds(40940));
}

TEST(BfnTest, SubFrameAbove150IsLoggedAndStillCounted) {
  log::LogCapture capture;
  EXPECT_EQ(toDuration(Bfn::of(0, 150, 0, 0)), nanoseconds(150 * 1024 * 3125 / 48));
  EXPECT_TRUE(capture.lines().empty());
  const Bfn bad = Bfn::of(2, 151, 0, 0);
  EXPECT_EQ(toDuration(bad), nanoseconds((2 * 150 + 151) * 1024 * 3125 / 48));
  EXPECT_TRUE(capture.has(log::Level::Error, "Invalid bfn " + std::to_string(bad.value())));
}

}  // namespace
}  // namespace kvn
