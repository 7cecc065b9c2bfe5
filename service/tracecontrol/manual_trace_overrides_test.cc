#include "service/tracecontrol/manual_trace_overrides.h"

#include <gtest/gtest.h>

namespace kvn {
namespace {

TEST(ManualTraceOverridesTest, SetKeepsOtherBitsAndForgetKeepsDirectionInert) {
  ManualTraceOverrides o;
  o.set(3, 0b0110, true);
  o.set(3, 0b0011, false);
  EXPECT_EQ(o.forcedOn(3), 0b0100u);
  EXPECT_EQ(o.forcedOff(3), 0b0011u);
  o.forget(3, 0b0001);
  EXPECT_EQ(o.forcedOff(3), 0b0010u);
  o.set(3, 0b0001, true);  // the old direction does not come back
  EXPECT_EQ(o.forcedOn(3), 0b0101u);
}

TEST(ManualTraceOverridesTest, ReadingPastTheEndIsNoChangeAndDoesNotGrow) {
  ManualTraceOverrides o;
  EXPECT_EQ(o.forcedOn(500), 0u);
  EXPECT_EQ(o.forcedOff(500), 0u);
  o.forget(500, 0xFF);
  EXPECT_FALSE(o.utrace(9).changed);
  EXPECT_EQ(o.objectCount(), 0u);
  EXPECT_EQ(o.utraceCount(), 0u);
  o.set(2, 1, false);
  o.setUtrace(4, false);
  EXPECT_EQ(o.objectCount(), 3u);
  EXPECT_EQ(o.forcedOn(1) | o.forcedOff(1), 0u);
  EXPECT_TRUE(o.utrace(4).changed);
  EXPECT_FALSE(o.utrace(4).value);
  EXPECT_FALSE(o.utrace(3).changed);
  o.clear();
  EXPECT_EQ(o.forcedOff(2), 0u);
  EXPECT_FALSE(o.utrace(4).changed);
}

}  // namespace
}  // namespace kvn
