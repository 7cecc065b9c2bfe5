#include "kvnsh/command_request.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string.h>

#include "kvnsh/wire_header.h"

namespace kvnsh {
namespace {

using ::testing::HasSubstr;

TEST(CommandRequestTest, EncodesHeaderCountAndNulTerminatedWords) {
  const std::vector<uint8_t> msg = CommandRequest::encode({"zoth", "echo", "a b", ""}, 0x1234);
  const char args[] = "zoth\0echo\0a b\0";  // plus the empty word's terminator
  ASSERT_EQ(msg.size(), 20u + sizeof args);

  uint32_t signal;
  memcpy(&signal, msg.data(), 4);
  EXPECT_EQ(signal, 0x170802Du);                                       // host order
  const uint8_t head[] = {0x00, 0x01, 0x12, 0x34, 0x00, 0x03, 0, 0,    // dst 1, src, submsg 3
                          0,    0,    0,    1,    4,    0,    0, 15};  // version, argc, length
  EXPECT_EQ(0, memcmp(msg.data() + 4, head, sizeof head));
  EXPECT_EQ(0, memcmp(msg.data() + 20, args, sizeof args));
}

TEST(CommandRequestTest, LimitsOfCountAndLength) {
  std::string error;
  EXPECT_FALSE(CommandRequest::fits({}, &error));

  std::vector<std::string> many(255, "x");
  EXPECT_TRUE(CommandRequest::fits(many, &error));
  EXPECT_EQ(CommandRequest::encode(many, 1)[16], 255);
  many.push_back("x");
  EXPECT_FALSE(CommandRequest::fits(many, &error));
  EXPECT_THAT(error, HasSubstr("too many arguments: 256 words"));

  // 65535 bytes of block: two words whose lengths and terminators add up exactly.
  std::vector<std::string> longLine = {"zoth", std::string(65535 - 5 - 1, 'a')};
  EXPECT_TRUE(CommandRequest::fits(longLine, &error));
  const std::vector<uint8_t> msg = CommandRequest::encode(longLine, 1);
  EXPECT_EQ(loadBe16(&msg[18]), 65535);
  longLine[1].push_back('a');
  EXPECT_FALSE(CommandRequest::fits(longLine, &error));
  EXPECT_THAT(error, HasSubstr("command line too long: 65536 bytes"));
}

}  // namespace
}  // namespace kvnsh
