// What README.md shows at the kvnsh prompt runs as written against the site of
// scripts/run-system; and Tab there offers what that site has.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include "tests/e2e/run_system_site.h"

namespace kvn::e2e {
namespace {

std::vector<std::string> promptLines(const std::string& path) {
  static const std::string kPrompt = "    kvnsh> ";
  std::vector<std::string> lines;
  std::ifstream in(path);
  for (std::string line; std::getline(in, line);)
    if (line.compare(0, kPrompt.size(), kPrompt) == 0) lines.push_back(line.substr(kPrompt.size()));
  return lines;
}

class ReadmeExamplesTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(site_.ok()) << site_.error(); }
  // The candidates `kvnsh --complete` offers for the last of `words`, one a line.
  std::string complete(std::vector<std::string> words) {
    words.insert(words.begin(), "--complete");
    std::string out;
    EXPECT_EQ(site_.shell(words, out), 0);
    return out;
  }

  RunDir dir_;
  RunSystemSite site_{dir_};
};

TEST_F(ReadmeExamplesTest, EveryPromptLineOfTheReadmeSucceedsInItsOrder) {
  const std::vector<std::string> lines = promptLines(RunSystemSite::sourceFile("README.md"));
  ASSERT_GE(lines.size(), 10u);
  for (const std::string& line : lines) {
    std::string out, err;
    EXPECT_EQ(site_.type(line, out, err), 0) << "kvnsh> " << line << "\n" << out << err;
  }
  // The destination the README adds is offered where a destination is wanted.
  EXPECT_EQ(complete({"zoth", "dest", "del", "n"}), "net1\n");
  EXPECT_EQ(complete({"zoth", "route", "1:embuf", "ne"}), "net1\n");
}

TEST_F(ReadmeExamplesTest, CompletionOffersTheSitesAgentsAndProfiles) {
  EXPECT_EQ(complete({"zorf", "log", "enable", "MOKA"}), "MOKA/1\nMOKA/2\n");
  EXPECT_EQ(complete({"-s", "kvn-tracecontroller", "zorf", "log", "enable", "*", "S"}),
            "Scheduling\nSignals\n");
  EXPECT_EQ(complete({"zoth", "route", "2:r"}), "2:rtt\n");
  // A service of another name is not there: only the command tree's words come.
  EXPECT_EQ(complete({"-s", "nobody", "zorf", "log", "enable", "MOKA"}), "");
}

TEST_F(ReadmeExamplesTest, RefusedUsageOfZorfNamesWhatAnswersAsHelpDoes) {
  std::string out, err;
  EXPECT_EQ(site_.type("zorf log -h", out, err), 104);
  EXPECT_NE(err.find("zorf log status -h"), std::string::npos) << err;
  // What the prompt's help suggests answers with a usage.
  ASSERT_EQ(site_.type("help", out, err), 0);
  for (const char* usage : {"zoth -h", "zoth route -h", "zomlek -h", "zorf log status -h"}) {
    EXPECT_NE(out.find(usage), std::string::npos) << usage;
    std::string text;
    EXPECT_LT(site_.type(usage, text, err), 2) << usage << "\n" << err;
    EXPECT_GT(std::count(text.begin(), text.end(), '\n'), 5) << usage << "\n" << text;
  }
}

}  // namespace
}  // namespace kvn::e2e
