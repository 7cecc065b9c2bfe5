#include "kvnsh/word_splitter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kvnsh {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::vector<std::string> words(const std::string& line) {
  WordSplitter::Result r = WordSplitter::split(line);
  EXPECT_TRUE(r.ok) << line << ": " << r.error;
  return r.words;
}

TEST(WordSplitterTest, BlanksSeparateAndCollapse) {
  EXPECT_THAT(words("  zoth \t info  "), ElementsAre("zoth", "info"));
  EXPECT_THAT(words(""), IsEmpty());
  EXPECT_THAT(words(" \t "), IsEmpty());
}

TEST(WordSplitterTest, QuotesKeepBlanksAndJoinWithNeighbours) {
  EXPECT_THAT(words("zoth echo 'trace string'"), ElementsAre("zoth", "echo", "trace string"));
  EXPECT_THAT(words("a\"b c\"d"), ElementsAre("ab cd"));
  EXPECT_THAT(words("'it'\\''s'"), ElementsAre("it's"));
  // Nothing is expanded.
  EXPECT_THAT(words("log enable 1 * \"$HOME\""), ElementsAre("log", "enable", "1", "*", "$HOME"));
}

TEST(WordSplitterTest, BackslashRulesDifferInsideAndOutsideQuotes) {
  EXPECT_THAT(words("a\\ b"), ElementsAre("a b"));
  EXPECT_THAT(words("\\'x"), ElementsAre("'x"));
  EXPECT_THAT(words("'a\\b'"), ElementsAre("a\\b"));                  // single quotes keep it
  EXPECT_THAT(words("\"a\\b\\\"c\\\\\""), ElementsAre("a\\b\"c\\"));  // only \" and \\ shrink
  EXPECT_THAT(words("ab\\\ncd"), ElementsAre("abcd"));                // line continuation
}

TEST(WordSplitterTest, EmptyQuotedWordsAreWords) {
  EXPECT_THAT(words("zoth echo ''"), ElementsAre("zoth", "echo", ""));
  EXPECT_THAT(words("\"\" x \"\""), ElementsAre("", "x", ""));
}

TEST(WordSplitterTest, HashStartsACommentOnlyAtAWordStart) {
  EXPECT_THAT(words("zoth info # all agents"), ElementsAre("zoth", "info"));
  EXPECT_THAT(words("obj#1 '#x'"), ElementsAre("obj#1", "#x"));
  EXPECT_THAT(words("# nothing"), IsEmpty());
}

TEST(WordSplitterTest, UnfinishedLinesAreErrors) {
  WordSplitter::Result r = WordSplitter::split("zoth echo 'abc");
  EXPECT_FALSE(r.ok);
  EXPECT_THAT(r.error, HasSubstr("unterminated single quote (opened at column 11)"));
  r = WordSplitter::split("zoth \"a\\\"");
  EXPECT_FALSE(r.ok);
  EXPECT_THAT(r.error, HasSubstr("unterminated double quote"));
  r = WordSplitter::split("zoth a\\");
  EXPECT_FALSE(r.ok);
  EXPECT_THAT(r.error, HasSubstr("backslash"));
  EXPECT_TRUE(r.words.empty());
}

}  // namespace
}  // namespace kvnsh
