#include "service/datapath/recorder_time.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include <stdexcept>
#include <string>

#include "util/argparse/argparse_errors.h"

namespace kvn {
namespace {

// The exception's kind and text, or "none".
template <typename Fn>
std::string failure(Fn fn) {
  try {
    fn();
  } catch (const argparse::ArgumentError& e) {
    return std::string("ArgumentError: ") + e.what();
  } catch (const std::invalid_argument& e) {
    return std::string("invalid_argument: ") + e.what();
  } catch (const std::out_of_range& e) {
    return std::string("out_of_range: ") + e.what();
  }
  return "none";
}

TEST(RecorderTimeTest, DurationIsDigitsAndAUnit) {
  EXPECT_EQ(parseDuration("42us"), 42);
  EXPECT_EQ(parseDuration("3ms"), 3000);
  EXPECT_EQ(parseDuration("0s"), 0);
  EXPECT_EQ(parseDuration("4294967295s"), 4294967295ll * 1000000);  // past 32 bits once scaled
  auto fails = [](const char* text) { return failure([&] { parseDuration(text); }); };
  EXPECT_EQ(fails("42"), "ArgumentError: Missing duration unit");
  // The unit is checked before the number.
  EXPECT_EQ(fails("3 ms"), "ArgumentError: Invalid duration unit");
  EXPECT_EQ(fails("3MS"), "ArgumentError: Invalid duration unit");
  EXPECT_EQ(fails("ms"), "invalid_argument: stoul");
  EXPECT_EQ(fails("4294967296us"), "out_of_range: stoul");
}

TEST(RecorderTimeTest, TimestampErrorsComeInTheirOrder) {
  auto fails = [](const char* text) { return failure([&] { parseTimestamp(text); }); };
  EXPECT_EQ(fails("2016-11-15 13:14:46"),
            "ArgumentError: Missing microseconds separator '.' in 2016-11-15 13:14:46");
  const std::string sixDigits =
      "ArgumentError: Exactly six digits are expected for microseconds statement";
  EXPECT_EQ(fails("2016-11-15 13:14:46.12345"), sixDigits);
  // The last dot separates, and the date is only looked at after the microseconds.
  EXPECT_EQ(fails("2016.11.15 13:14:46"), sixDigits);
  EXPECT_EQ(fails("bad date.12345x"), "invalid_argument: Non-digits in expected number");
  EXPECT_EQ(fails("2016-11-15 13:14:46x.123456"), "ArgumentError: Invalid timestamp");
  EXPECT_EQ(fails("2016-11-15.123456"), "ArgumentError: Invalid timestamp");
}

// In zones without daylight saving, east and west of UTC, the text is always UTC.
TEST(RecorderTimeTest, TimestampsAreUtcAndRoundTrip) {
  const char* oldTz = getenv("TZ");
  const std::string saved = oldTz != nullptr ? oldTz : "";
  for (const char* zone : {"UTC0", "KVN-5:30", "KVN+8"}) {
    SCOPED_TRACE(zone);
    setenv("TZ", zone, 1);
    tzset();
    EXPECT_EQ(parseTimestamp("2016-11-15 13:14:46.123456"), 1479215686123456);
    EXPECT_EQ(formatTimestamp(0), "1970-01-01 00:00:00.000000");
    EXPECT_EQ(formatTimestamp(1479215686000007), "2016-11-15 13:14:46.000007");
    for (const char* text : {"1970-01-01 00:00:00.000000", "2000-02-29 23:59:59.999999",
                             "2038-01-19 03:14:08.500000", "2099-12-31 12:00:00.000001"})
      EXPECT_EQ(formatTimestamp(parseTimestamp(text)), text);
  }
  if (oldTz != nullptr)
    setenv("TZ", saved.c_str(), 1);
  else
    unsetenv("TZ");
  tzset();
}

}  // namespace
}  // namespace kvn
