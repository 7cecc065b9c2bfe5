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

// One site for all: each check stands on its own.
TEST(ReadmeExamplesTest, ThePromptLinesRunAndTabOffersWhatTheSiteHas) {
  RunDir dir;
  RunSystemSite site(dir);
  ASSERT_TRUE(site.ok()) << site.error();
  // The candidates `kvnsh --complete` offers for the last of `words`, one a line.
  const auto complete = [&site](std::vector<std::string> words) {
    words.insert(words.begin(), "--complete");
    std::string out;
    EXPECT_EQ(site.shell(words, out), 0);
    return out;
  };

  const std::vector<std::string> lines = promptLines(RunSystemSite::sourceFile("README.md"));
  ASSERT_GE(lines.size(), 10u);
  std::string out, err;
  for (const std::string& line : lines)
    EXPECT_EQ(site.type(line, out, err), 0) << "kvnsh> " << line << "\n" << out << err;
  // The destination the README adds is offered where a destination is wanted.
  EXPECT_EQ(complete({"zoth", "dest", "del", "n"}), "net1\n");
  EXPECT_EQ(complete({"zoth", "route", "1:embuf", "ne"}), "net1\n");

  EXPECT_EQ(complete({"zorf", "log", "enable", "MOKA"}), "MOKA/1\nMOKA/2\n");
  EXPECT_EQ(complete({"-s", "kvn-tracecontroller", "zorf", "log", "enable", "*", "S"}),
            "Scheduling\nSignals\n");
  EXPECT_EQ(complete({"zoth", "route", "2:r"}), "2:rtt\n");
  // A service of another name is not there: only the command tree's words come.
  EXPECT_EQ(complete({"-s", "nobody", "zorf", "log", "enable", "MOKA"}), "");

  // A refused usage of zorf names what answers as help does.
  EXPECT_EQ(site.type("zorf log -h", out, err), 104);
  EXPECT_NE(err.find("zorf log status -h"), std::string::npos) << err;
  // What the prompt's help suggests answers with a usage.
  ASSERT_EQ(site.type("help", out, err), 0);
  for (const char* usage : {"zoth -h", "zoth route -h", "zomlek -h", "zorf log status -h"}) {
    EXPECT_NE(out.find(usage), std::string::npos) << usage;
    std::string text;
    EXPECT_LT(site.type(usage, text, err), 2) << usage << "\n" << err;
    EXPECT_GT(std::count(text.begin(), text.end(), '\n'), 5) << usage << "\n" << text;
  }
}

}  // namespace
}  // namespace kvn::e2e
