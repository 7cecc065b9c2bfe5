#include "util/cmd/cmd_parser_helpers.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

#include "util/argparse/argparse_errors.h"

namespace kvn {
namespace {

std::string invalidArgumentOf(const std::function<void()>& fn) {
  try {
    fn();
  } catch (const std::invalid_argument& e) {
    return e.what();
  }
  return "";
}

TEST(ParseUnsignedTest, CBaseRuleOnTheWholeText) {
  EXPECT_EQ(parseUnsigned("0x10"), 16u);
  EXPECT_EQ(parseUnsigned("010"), 8u);
  EXPECT_EQ(parseUnsigned("0"), 0u);
  EXPECT_EQ(parseUnsigned("4294967295"), 4294967295u);
  for (const char* bad : {"-1", "", "12x", "0x", "4294967296", "99999999999999999999999"})
    EXPECT_EQ(invalidArgumentOf([&] { parseUnsigned(bad); }), "Invalid number format") << bad;
}

TEST(ParseNumberInRangeTest, NumberAndRangeErrors) {
  EXPECT_EQ(parseNumberInRange("0x1f", "len", 0, 100), 31u);
  EXPECT_EQ(parseNumberInRange("18446744073709551615", "x", -1, 0), 18446744073709551615u);
  EXPECT_EQ(invalidArgumentOf([&] { parseNumberInRange("12a", "len", 0, 100); }),
            "len 12a is not a number");
  EXPECT_EQ(invalidArgumentOf([&] { parseNumberInRange("", "len", 0, 100); }),
            "len  is not a number");
  EXPECT_EQ(invalidArgumentOf([&] { parseNumberInRange("101", "len", 0, 100); }),
            "len 101 is not in range [0, 100]");
  EXPECT_EQ(invalidArgumentOf([&] { parseNumberInRange("-1", "len", 0, 100); }),
            "len -1 is not in range [0, 100]");
  // Above 2^64 - 1 is a range error, not a number error.
  EXPECT_EQ(invalidArgumentOf([&] { parseNumberInRange("18446744073709551616", "v", -5, 5); }),
            "v 18446744073709551616 is not in range [-5, 5]");
}

TEST(ParseMacTest, ColonsAnywhereOrNone) {
  const std::array<uint8_t, 6> want{0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff};
  EXPECT_EQ(parseMac("aa:bb:cc:dd:ee:ff", "mac"), want);
  EXPECT_EQ(parseMac("aabbccddeeff", "mac"), want);
  EXPECT_EQ(parseMac("AABB:CCDDEE::FF", "mac"), want);
  for (const char* bad : {"aabbccddeef", "aabbccddeeff0", "aabbccddeefg", ""})
    EXPECT_EQ(invalidArgumentOf([&] { parseMac(bad, "--mac"); }),
              std::string("--mac ") + bad + " is not a valid mac address");
}

TEST(SplitArgumentTest, SplitsAtTheFirstSeparator) {
  EXPECT_EQ(splitArgument("1:embuf:x", ":"),
            std::make_pair(std::string("1"), std::string("embuf:x")));
  EXPECT_EQ(splitArgument(":", ":"), std::make_pair(std::string(), std::string()));
  try {
    splitArgument("abc", ":");
    FAIL();
  } catch (const argparse::ArgumentError& e) {
    EXPECT_STREQ(e.what(), "Missing separator in argument");
  }
}

}  // namespace
}  // namespace kvn
