#include "util/argparse/argparse_parser.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "util/argparse/argparse_normal_option.h"

namespace kvn::argparse {
namespace {

using Words = std::vector<std::string>;

// Runs `fn` and returns the text of the exception of type E it throws ("" if none).
template <typename E>
std::string errorOf(const std::function<void()>& fn) {
  try {
    fn();
  } catch (const E& e) {
    return e.what();
  }
  return "";
}

TEST(ArgparseSpecTest, ResolvesShortAndLongNames) {
  using bits::NormalOption;
  EXPECT_EQ(NormalOption::parseNames("-h, --help").shortName, 'h');
  EXPECT_EQ(NormalOption::parseNames("-h, --help").longName, "--help");
  EXPECT_EQ(NormalOption::parseNames(" m ").shortName, 'm');
  EXPECT_EQ(NormalOption::parseNames("count").longName, "--count");
  EXPECT_EQ(NormalOption::parseNames("\t--json\t,-j").shortName, 'j');
  // A later item of the same kind wins.
  EXPECT_EQ(NormalOption::parseNames("-a, -b").shortName, 'b');
  EXPECT_EQ(NormalOption::parseNames("-a").longName, "");
}

TEST(ArgparseSpecTest, RejectsBadSpecsWithTheirTexts) {
  Parser p;
  EXPECT_EQ(errorOf<Error>([&] { p.add(nullptr); }), "Zero-string in option csv list");
  EXPECT_EQ(errorOf<Error>([&] { p.add("-h,"); }), "Empty string in option list");
  EXPECT_EQ(errorOf<Error>([&] { p.add(""); }), "Empty string in option list");
  EXPECT_EQ(errorOf<Error>([&] { p.add("--ab"); }), "");
  EXPECT_EQ(errorOf<Error>([&] { p.add("--a"); }), "Too short long option");
  EXPECT_EQ(errorOf<Error>([&] { p.add("-help"); }), "Long option specified with only one '-'.");
}

TEST(ArgparseParserTest, ShortAndLongFormsDoTheSame) {
  for (const char* word : {"-h", "--help"}) {
    Parser p;
    bool help = false;
    p.add("-h, --help") >> help;
    EXPECT_EQ(p.parse({"a", word, "b"}), (Words{"a", "b"}));
    EXPECT_TRUE(help) << word;
  }
}

TEST(ArgparseParserTest, ClusterWithBoolThenValueTakesNextWord) {
  Parser p;
  bool a = false;
  uint32_t b = 0;
  p.add("-a") >> a;
  p.add("-b") >> b;
  EXPECT_EQ(p.parse({"-ab", "5", "rest"}), Words{"rest"});
  EXPECT_TRUE(a);
  EXPECT_EQ(b, 5u);
}

TEST(ArgparseParserTest, PositionalWordsKeepTheirOrder) {
  Parser p;
  std::string s;
  p.add("-s, --snid") >> s;
  EXPECT_EQ(p.parse({"x", "-", "", "--snid", "1:2", "y"}), (Words{"x", "-", "", "y"}));
  EXPECT_EQ(s, "1:2");
}

TEST(ArgparseParserTest, UnsignedValuesFollowTheCBaseRule) {
  Parser p;
  std::vector<uint32_t> seen;
  p.add("-n, --num") >> [&](uint32_t v) { seen.push_back(v); };
  p.parse({"-n", "0x10", "-n", "010", "--num", " 7\t", "-n", "4294967295", "-n", "junk"});
  EXPECT_EQ(seen, (std::vector<uint32_t>{16, 8, 7, 4294967295u, 0}));
}

TEST(ArgparseParserTest, SeveralTargetsOnOneOptionAllRun) {
  Parser p;
  uint32_t x = 0;
  uint8_t y = 0;
  p.add("-x") >> x >> y;
  p.parse({"-x", "200"});
  EXPECT_EQ(x, 200u);
  EXPECT_EQ(y, 200);
}

TEST(ArgparseParserTest, OperatorErrorsCarryTheirTexts) {
  Parser p;
  uint32_t n = 0;
  uint32_t r = 0;
  uint32_t shortOnly = 0;
  std::string s;
  p.add("-n, --num") >> n;
  p.add("-r, --range", 1, 10) >> r;
  p.add("-q") >> shortOnly;
  p.add("-s, --str") >> s;

  EXPECT_EQ(errorOf<UnknownOptionError>([&] { p.parse({"--"}); }), "Unknown option --");
  EXPECT_EQ(errorOf<UnknownOptionError>([&] { p.parse({"--nope"}); }), "Unknown option --nope");
  EXPECT_EQ(errorOf<UnknownOptionError>([&] { p.parse({"-nz", "1"}); }), "Unknown option '-z'");
  // A negative number is a cluster of short options, never a value.
  EXPECT_EQ(errorOf<UnknownOptionError>([&] { p.parse({"-1"}); }), "Unknown option '-1'");
  EXPECT_EQ(errorOf<MissingArgumentError>([&] { p.parse({"-n"}); }),
            "Too few arguments for option -n");
  EXPECT_EQ(errorOf<MissingArgumentError>([&] { p.parse({"--num"}); }),
            "Too few arguments for option --num");
  EXPECT_EQ(errorOf<RangeError>([&] {
              p.parse({"-n", "-5"});
            }),
            "Negative values not allowed for option '--num'");
  // Without a long name the name in the text is empty.
  EXPECT_EQ(errorOf<RangeError>([&] {
              p.parse({"-q", "-5"});
            }),
            "Negative values not allowed for option ''");
  EXPECT_EQ(errorOf<RangeError>([&] {
              p.parse({"-r", "11"});
            }),
            "Argument for option '--range' outside allowed range (1, 10)");
  EXPECT_EQ(errorOf<RangeError>([&] {
              p.parse({"-r", "x"});
            }),
            "Argument for option '--range' outside allowed range (1, 10)");
  EXPECT_EQ(errorOf<ParseError>([&] { p.parse({"-s", ""}); }), "null arg");
}

TEST(ArgparseParserTest, NarrowTargetCapsTheRange) {
  Parser p;
  uint8_t small = 0;
  p.add("-b") >> small;
  EXPECT_EQ(errorOf<RangeError>([&] {
              p.parse({"-b", "256"});
            }),
            "Argument for option '' outside allowed range (0, 255)");
}

TEST(ArgparseParserTest, MixedTargetKindsAreADeclarationError) {
  Parser p;
  bool b = false;
  std::string s;
  EXPECT_FALSE(errorOf<Error>([&] { p.add("-x") >> b >> s; }).empty());
}

}  // namespace
}  // namespace kvn::argparse
