#include "util/argparse/argparse_parser.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <typeinfo>
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

TEST(ArgparseParserTest, FormsClustersPositionalWordsAndSeveralTargets) {
  for (const char* word : {"-h", "--help"}) {  // the short and the long form do the same
    Parser p;
    bool help = false;
    p.add("-h, --help") >> help;
    EXPECT_EQ(p.parse({"a", word, "b"}), (Words{"a", "b"}));
    EXPECT_TRUE(help) << word;
  }
  Parser p;
  bool a = false;
  uint32_t b = 0, x = 0;
  uint8_t y = 0;
  std::string s;
  p.add("-a") >> a;
  p.add("-b") >> b;
  p.add("-s, --snid") >> s;
  p.add("-x") >> x >> y;
  // A cluster with a bool then a value takes the next word; positional words keep their order.
  EXPECT_EQ(p.parse({"x", "-ab", "5", "-", "", "--snid", "1:2", "-x", "200", "y"}),
            (Words{"x", "-", "", "y"}));
  EXPECT_TRUE(a);
  EXPECT_EQ(b, 5u);
  EXPECT_EQ(s, "1:2");
  EXPECT_EQ(x, 200u) << "every target of an option runs";
  EXPECT_EQ(y, 200);
}

TEST(ArgparseParserTest, UnsignedValuesFollowTheCBaseRule) {
  Parser p;
  std::vector<uint32_t> seen;
  p.add("-n, --num") >> [&](uint32_t v) { seen.push_back(v); };
  p.parse({"-n", "0x10", "-n", "010", "--num", " 7\t", "-n", "4294967295", "-n", "junk"});
  EXPECT_EQ(seen, (std::vector<uint32_t>{16, 8, 7, 4294967295u, 0}));
}

TEST(ArgparseParserTest, OperatorErrorsCarryTheirTypesAndTexts) {
  Parser p;
  uint32_t n = 0, r = 0, shortOnly = 0;
  uint8_t small = 0;
  std::string s;
  p.add("-n, --num") >> n;
  p.add("-r, --range", 1, 10) >> r;
  p.add("-q") >> shortOnly;
  p.add("-s, --str") >> s;
  p.add("-b") >> small;
  const std::string range = "Argument for option '--range' outside allowed range (1, 10)";
  const struct {
    Words words;
    const std::type_info& type;
    std::string text;
  } cases[] = {
      {{"--"}, typeid(UnknownOptionError), "Unknown option --"},
      {{"--nope"}, typeid(UnknownOptionError), "Unknown option --nope"},
      {{"-nz", "1"}, typeid(UnknownOptionError), "Unknown option '-z'"},
      // A negative number is a cluster of short options, never a value.
      {{"-1"}, typeid(UnknownOptionError), "Unknown option '-1'"},
      {{"-n"}, typeid(MissingArgumentError), "Too few arguments for option -n"},
      {{"--num"}, typeid(MissingArgumentError), "Too few arguments for option --num"},
      {{"-n", "-5"}, typeid(RangeError), "Negative values not allowed for option '--num'"},
      // Without a long name the name in the text is empty.
      {{"-q", "-5"}, typeid(RangeError), "Negative values not allowed for option ''"},
      {{"-r", "11"}, typeid(RangeError), range},
      {{"-r", "x"}, typeid(RangeError), range},
      // A narrow target caps the range.
      {{"-b", "256"}, typeid(RangeError), "Argument for option '' outside allowed range (0, 255)"},
      {{"-s", ""}, typeid(ParseError), "null arg"},
  };
  for (const auto& c : cases) {
    try {
      p.parse(c.words);
      ADD_FAILURE() << c.words[0] << " parsed";
    } catch (const ParseError& e) {
      EXPECT_EQ(typeid(e), c.type) << c.text;
      EXPECT_EQ(e.what(), c.text);
    }
  }
}

TEST(ArgparseParserTest, MixedTargetKindsAreADeclarationError) {
  Parser p;
  bool b = false;
  std::string s;
  EXPECT_FALSE(errorOf<Error>([&] { p.add("-x") >> b >> s; }).empty());
}

}  // namespace
}  // namespace kvn::argparse
