#include "kvnsh/completer.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace kvnsh {
namespace {

using Words = std::vector<std::string>;

class CompleterTest : public ::testing::Test {
 protected:
  Completer completer_{[this](const Words& command) {
    std::string key;
    for (const std::string& w : command) key += (key.empty() ? "" : " ") + w;
    ++asked_[key];
    return answers_[key];
  }};
  std::map<std::string, std::string> answers_ = {
      {"zoth info",
       "Instance name        Physical daxo id     Domain daxo index     Role index\n"
       "MOKA                 1                    1                     0         \n"
       "                     3                    0                     0         \n"}};
  std::map<std::string, int> asked_;
};

TEST_F(CompleterTest, WalksTheTreePastOptionsAndTheirValues) {
  EXPECT_EQ(completer_.complete({"-s", "svc", "-n", "ns", "zo"}),
            (Words{"zomlek", "zorf", "zoth"}));
  EXPECT_EQ(completer_.complete({"--"}), (Words{"--help", "--namespace", "--output", "--service"}));
  EXPECT_EQ(completer_.complete({"-o", ""}), Words{});  // a file name
  EXPECT_EQ(completer_.complete({"zoth", "recorder", "-t", "10", "st"}),
            (Words{"start", "status", "stop"}));
  EXPECT_EQ(completer_.complete({"zomlek", "cmpoolusage", "--j"}), Words{"--json"});
  EXPECT_EQ(completer_.complete({"zoth", "nosuch", ""}), Words{});
  EXPECT_EQ(completer_.complete({"kvnsh", ""}), Words{});  // no such root
  EXPECT_TRUE(asked_.empty()) << "the tree's own words need no service";
}

TEST_F(CompleterTest, NamesComeFromTheServiceOnceEach) {
  EXPECT_EQ(completer_.complete({"zorf", "log", "enable", ""}), (Words{"1", "3", "MOKA/1"}));
  EXPECT_EQ(completer_.complete({"zomlek", "dspload", "start", "-s", "M"}), Words{"MOKA/1"});
  EXPECT_EQ(completer_.complete({"zoth", "recorder", "dump", "1:"}),
            (Words{"1:lpp", "1:rtt", "1:token"}));
  EXPECT_EQ(asked_, (std::map<std::string, int>{{"zoth info", 1}}));
}

TEST_F(CompleterTest, ALineCompletesItsLastWordWithThePromptsOwn) {
  Completer::LineCompletion c = completer_.completeLine("  ");
  EXPECT_EQ(c.partial, "");
  EXPECT_EQ(c.candidates, (Words{"zomlek", "zorf", "zoth", "help", "exit", "quit"}));
  c = completer_.completeLine("zorf log st");
  EXPECT_EQ(c.partial, "st");
  EXPECT_EQ(c.candidates, Words{"status"});
  EXPECT_EQ(completer_.completeLine("zoth echo 'a b").candidates, Words{});  // open quote
  EXPECT_EQ(completer_.completeLine("zorf log ").candidates.size(), 5u);
}

}  // namespace
}  // namespace kvnsh
