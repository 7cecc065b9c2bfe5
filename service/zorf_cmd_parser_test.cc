#include "service/zorf_cmd_parser.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "util/cmd/output_cmd_session.h"

namespace kvn {
namespace {

TEST(ZorfCmdParserTest, OnlyLogIsImplemented) {
  ZorfCmdParser zorf("zorf", "Base band trace & error.");
  zorf.addSubcommand(std::make_shared<CmdParser>("log", "Manages trace objects"));
  auto out = std::dynamic_pointer_cast<OutputCmdSession>(zorf.parse({"log"}));
  ASSERT_TRUE(out);
  EXPECT_EQ(out->getResult(), 1);
  for (const auto& args : std::vector<std::vector<std::string>>{{}, {"--help"}, {"status"}}) {
    try {
      zorf.parse(args);
      ADD_FAILURE() << "no error";
    } catch (const NotImplementedError& e) {
      EXPECT_STREQ(e.what(), "Only zorf log is partially implemented on TC2.0");
    }
  }
}

}  // namespace
}  // namespace kvn
