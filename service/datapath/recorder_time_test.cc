#include "service/datapath/recorder_time.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include <functional>
#include <stdexcept>
#include <string>

#include "util/argparse_errors.h"

namespace kvn {
namespace {

using argparse::ArgumentError;

// The exception's type and text, or "none".
template <typename Fn>
std::string failure(Fn fn) {
  try {
    fn();
  } catch (const ArgumentError& e) {
    return std::string("ArgumentError: ") + e.what();
  } catch (const std::invalid_argument& e) {
    return std::string("invalid_argument: ") + e.what();
  } catch (const std::out_of_range& e) {
    return std::string("out_of_range: ") + e.what();
  }
  return "none";
}

std::string durationFailure(const std::string& text) {
  return failure([&] { parseDuration(text); });
}
std::string timestampFailure(const std::string& text) {
  return failure([&] { parseTimestamp(text); });
}

TEST(RecorderTimeTest, DurationIsDigitsAndAUnit) {
  EXPECT_EQ(parseDuration("42us"), 42);
  EXPECT_EQ(parseDuration("3ms"), 3000);
  EXPECT_EQ(parseDuration("1s"), 1000000);
  EXPECT_EQ(parseDuration("0s"), 0);
  EXPECT_EQ(parseDuration("4294967295s"), 4294967295ll * 1000000);  // past 32 bits once scaled

  EXPECT_EQ(durationFailure("42"), "ArgumentError: Missing duration unit");
  EXPECT_EQ(durationFailure(""), "ArgumentError: Missing duration unit");
  // The unit is checked before the number.
  EXPECT_EQ(durationFailure("3 ms"), "ArgumentError: Invalid duration unit");
  EXPECT_EQ(durationFailure("3MS"), "ArgumentError: Invalid duration unit");
  EXPECT_EQ(durationFailure("x3ms"), "ArgumentError: Invalid duration unit");
  EXPECT_EQ(durationFailure("ms"), "invalid_argument: stoul");
  EXPECT_EQ(durationFailure("4294967296us"), "out_of_range: stoul");
  EXPECT_EQ(durationFailure("99999999999999999999999s"), "out_of_range: stoul");
}

TEST(RecorderTimeTest, TimestampErrorsComeInTheirOrder) {
  const std::string noDot = "2016-11-15 13:14:46";
  EXPECT_EQ(timestampFailure(noDot),
            "ArgumentError: Missing microseconds separator '.' in 2016-11-15 13:14:46");
  const std::string sixDigits =
      "ArgumentError: Exactly six digits are expected for microseconds statement";
  EXPECT_EQ(timestampFailure("2016-11-15 13:14:46.12345"), sixDigits);
  EXPECT_EQ(timestampFailure("2016-11-15 13:14:46.1234567"), sixDigits);
  // The last dot separates, and a bad date is only looked at after the microseconds.
  EXPECT_EQ(timestampFailure("2016.11.15 13:14:46"), sixDigits);
  EXPECT_EQ(timestampFailure("bad date.12345x"), "invalid_argument: Non-digits in expected number");
  EXPECT_EQ(timestampFailure("2016-11-15 13:14:46.12345x"),
            "invalid_argument: Non-digits in expected number");
  EXPECT_EQ(timestampFailure("2016-11-15 13:14:46x.123456"), "ArgumentError: Invalid timestamp");
  EXPECT_EQ(timestampFailure("2016-11-15.123456"), "ArgumentError: Invalid timestamp");
}

class RecorderTimeZoneTest : public ::testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    const char* tz = getenv("TZ");
    hadTz_ = tz != nullptr;
    if (hadTz_) oldTz_ = tz;
    setenv("TZ", GetParam(), 1);
    tzset();
  }
  void TearDown() override {
    if (hadTz_)
      setenv("TZ", oldTz_.c_str(), 1);
    else
      unsetenv("TZ");
    tzset();
  }

 private:
  bool hadTz_ = false;
  std::string oldTz_;
};

// Zones without daylight saving, east and west of UTC: the text is always read as UTC.
TEST_P(RecorderTimeZoneTest, TextIsUtcAndRoundTrips) {
  EXPECT_EQ(parseTimestamp("2016-11-15 13:14:46.123456"), 1479215686123456);
  EXPECT_EQ(parseTimestamp("1970-01-01 00:00:00.000000"), 0);
  EXPECT_EQ(formatTimestamp(0), "1970-01-01 00:00:00.000000");
  EXPECT_EQ(formatTimestamp(1479215686000007), "2016-11-15 13:14:46.000007");
  for (const char* text :
       {"2016-11-15 13:14:46.123456", "2000-02-29 23:59:59.999999", "1970-01-01 00:00:01.000001",
        "2038-01-19 03:14:08.500000", "2099-12-31 12:00:00.000000"})
    EXPECT_EQ(formatTimestamp(parseTimestamp(text)), text);
}

INSTANTIATE_TEST_SUITE_P(Zones, RecorderTimeZoneTest,
                         ::testing::Values("UTC0", "KVN-5:30", "KVN+8"));

}  // namespace
}  // namespace kvn
