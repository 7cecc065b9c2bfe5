#include "tracetables/trace_string_formatter.h"

#include <gtest/gtest.h>
#include <stdio.h>

#include <string>

namespace kvn {
namespace {

std::string fmt(const std::string& f, uint32_t a = 0, uint32_t b = 0, uint32_t c = 0) {
  return TraceStringFormatter::format(f, a, b, c);
}

TEST(TraceStringFormatterTest, IntegerAndCharacterConversionsPrintAsPrintfOnTheTarget) {
  char expect[256];
  const uint32_t v = 0xFFFFFF85u;  // -123 as a signed 32-bit value
  for (const char* f : {"%d", "%i", "%u", "%x", "%X", "%o", "%#x", "%#o", "%-8d|", "%+d", "% d",
                        "%08x", "%.5u", "%12.7d", "%hd", "%hhd", "%hu", "%hhx"}) {
    snprintf(expect, sizeof expect, f, v);
    EXPECT_EQ(fmt(f, v), expect) << f;
  }
  // With l the value is still one 32-bit word, as long is on the target.
  EXPECT_EQ(fmt("%ld %lu %lx", v, v, v), "-123 4294967173 ffffff85");
  EXPECT_EQ(fmt("%c%c%c", 'a', 'b', 'c'), "abc");
  EXPECT_EQ(fmt("100%% of %d, %d and %d", 1, 2, 3), "100% of 1, 2 and 3");
  EXPECT_EQ(fmt("plain text"), "plain text");
}

TEST(TraceStringFormatterTest, EveryOtherConversionIsPrintedAsItStandsAndTakesItsArgument) {
  // Pointers in the arguments would crash (or write) if they were followed.
  const uint32_t bad = 0xDEADBEEF;
  EXPECT_EQ(fmt("%s and %d", bad, 7), "%s and 7");
  EXPECT_EQ(fmt("%n%d", bad, 7), "%n7");
  EXPECT_EQ(fmt("%p %f %e %g %a %5.2f %d", bad, bad, bad), "%p %f %e %g %a %5.2f %d");
  EXPECT_EQ(fmt("%lld %llx %jd %zu %Lf %qd %lc"), "%lld %llx %jd %zu %Lf %qd %lc");
  EXPECT_EQ(fmt("%*d %.*d %1$d|%d", 5, 6, 7), "%*d %.*d %1$d|%d");
  EXPECT_EQ(fmt("%hc %y|%d", 1, 2, 3), "%hc %y|3");
  // A fourth conversion has no argument.
  EXPECT_EQ(fmt("%d %d %d %d %s", 1, 2, 3), "1 2 3 %d %s");
  // Fields that would make a huge text.
  EXPECT_EQ(fmt("%99999999999d|%.2000d|%1024d", 1, 2, 3).substr(0, 21), "%99999999999d|%.2000d");
  EXPECT_EQ(fmt("%1024d", 3).size(), 1024u);
  // An unfinished conversion at the end.
  EXPECT_EQ(fmt("value %d %-08", 1), "value 1 %-08");
  EXPECT_EQ(fmt("%"), "%");
}

}  // namespace
}  // namespace kvn
