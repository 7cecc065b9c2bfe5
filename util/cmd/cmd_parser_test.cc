#include "util/cmd/cmd_parser.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "util/cmd/output_cmd_session.h"

namespace kvn {
namespace {

const char* const kClosing =
    "Use @<YLM name> to specify an YLM, e.g. zorf @MOKA log status *\n"
    "If YLM name is not specified, the command will try to find a controller \n"
    "by looking at the agent expression and if this fails it will run on \n"
    "the default controller.\n";

std::shared_ptr<CmdParser> zothTree() {
  auto zoth = std::make_shared<CmdParser>("zoth", "Base band trace session.");
  zoth->addSubcommand(std::make_shared<CmdParser>("info", "Print info about connected daxos."))
      .addSubcommand(std::make_shared<CmdParser>("route", "Configure trace routes."));
  return zoth;
}

// What a parser's parse answered with.
std::pair<std::string, int> answer(CmdParser& parser, const std::vector<std::string>& args) {
  auto out = std::dynamic_pointer_cast<OutputCmdSession>(parser.parse(args));
  if (!out) return {"", -1};
  return {out->getText(), out->getResult()};
}

TEST(CmdParserTest, UsageOfARootWithSubcommands) {
  const std::string want = std::string(
                               "\n"
                               "Info:\n"
                               "  Base band trace session.\n"
                               "\n"
                               "Syntax:\n"
                               "  zoth [--help] [@<YLM Name>] <subcmd>\n"
                               "\n"
                               "  Global options:\n"
                               "    -h | --help  Output usage instructions\n"
                               "    @<YLM>      Specify YLM. E.g. zoth @MOKA SUBCMD\n"
                               "\n"
                               "  Subcommands:\n"
                               "    info         Print info about connected daxos.\n"
                               "    route        Configure trace routes.\n"
                               "\n") +
                           kClosing;
  EXPECT_EQ(zothTree()->usage(), want);
}

TEST(CmdParserTest, NameColumnIsAtLeast12AndAtMost30) {
  CmdParser root("zomlek", "Base band capacity session.");
  root.addSubcommand(std::make_shared<CmdParser>(std::string(40, 'n'), "long"));
  root.addSubcommand(std::make_shared<CmdParser>("short", "brief"));
  const std::string usage = root.usage();
  EXPECT_NE(usage.find("    " + std::string(40, 'n') + " long\n"), std::string::npos);
  EXPECT_NE(usage.find("    short" + std::string(25, ' ') + " brief\n"), std::string::npos);
  EXPECT_NE(usage.find("    -h | --help" + std::string(19, ' ') + " Output"), std::string::npos);
}

TEST(CmdParserTest, FullNameReachesChildrenAddedFromTheRootDown) {
  auto zoth = zothTree();
  auto route = std::make_shared<CmdParser>("route", "Configure trace routes.");
  zoth->addSubcommand(route);
  route->addSubcommand(std::make_shared<CmdParser>("set", "x"));
  EXPECT_EQ(route->getFullName(), "zoth route");
  EXPECT_NE(route->usage().find("Specify YLM. E.g. zoth route @MOKA SUBCMD"), std::string::npos);
}

TEST(CmdParserTest, ParseAnswersFromTheTree) {
  auto zoth = zothTree();
  const std::string usage = zoth->usage();
  // No sub-command, or an unknown one: KvnshServiceTest.UsageHelpUnknownSubcommandAndRefusedRoot.
  EXPECT_EQ(answer(*zoth, {"--bad"}),
            std::make_pair("Unknown option '--bad'.\n" + usage + "\n", 1));
  EXPECT_EQ(answer(*zoth, {"@MOKA", "info"}).second, 2);
  EXPECT_EQ(answer(*zoth, {"-h"}), std::make_pair(usage + "\n", 0));
  EXPECT_EQ(answer(*zoth, {"--help", "ignored"}).second, 0);
  // Down the tree: the leaf has no sub-commands of its own.
  auto [text, result] = answer(*zoth, {"info"});
  EXPECT_EQ(text.rfind("info needs a subcommand.\n", 0), 0u);
  EXPECT_EQ(result, 1);
}

}  // namespace
}  // namespace kvn
