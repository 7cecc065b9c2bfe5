#include "util/cmd/cmd_session_factory.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tracing/log_capture.h"
#include "util/cmd/output_cmd_session.h"
#include "util/testing/cmd_layer_test_base.h"
#include "util/testing/wire_bytes.h"

namespace kvn {
namespace {

using kvn::log::Level;
using kvn::log::LogCapture;

// A root whose parse the test decides.
class ScriptedParser : public CmdParser {
 public:
  using CmdParser::CmdParser;
  std::function<std::shared_ptr<CmdSession>(const std::vector<std::string>&)> onParse;
  std::shared_ptr<CmdSession> parse(const std::vector<std::string>& args) override {
    return onParse ? onParse(args) : CmdParser::parse(args);
  }
};

class CmdSessionFactoryTest : public kvn::testing::CmdLayerTestBase {
 protected:
  void SetUp() override {
    CmdLayerTestBase::SetUp();
    zoth->addSubcommand(std::make_shared<CmdParser>("info", "Print info about connected daxos."));
    factory->addRootParser(zoth);
    factory->addRootParser(scripted);
    table.allocate(factory, 1);
  }

  // A command request as the front end sends it; `block` is the argument block as it stands.
  void request(const std::string& block, uint8_t argc, uint32_t version = 1, int argsLength = -1,
               uint16_t submsgno = 3) {
    const uint16_t len = argsLength < 0 ? static_cast<uint16_t>(block.size()) : argsLength;
    kvn::testing::Bytes body;
    kvn::testing::put32(body, version);
    body.insert(body.end(), {argc, 0});
    kvn::testing::put16(body, len);
    for (const char c : block) body.push_back(static_cast<uint8_t>(c));
    pxm.injectObs(peer, 1, kFrontEndRoutine, submsgno, body);
    run();
  }

  // The accepted-text-ended sequence of a command answered with `text` and `result`.
  void expectAnswer(const std::string& text, uint8_t result) {
    auto msgs = received();
    ASSERT_EQ(msgs.size(), 3u);
    EXPECT_EQ(msgs[0].submsgno, 5);
    EXPECT_EQ(msgs[0].dstRoutineId, kFrontEndRoutine);
    EXPECT_EQ(msgs[1].submsgno, 8);
    EXPECT_EQ(msgs[1].text(18, msgs[1].be16(16)), text);
    EXPECT_EQ(msgs[2].submsgno, 7);
    EXPECT_EQ(msgs[2].u8(12), result);
  }

  void expectRefused(uint32_t reason) {
    auto msgs = received();
    ASSERT_EQ(msgs.size(), 1u);
    EXPECT_EQ(msgs[0].submsgno, 6);
    EXPECT_EQ(msgs[0].size, 20u);
    EXPECT_EQ(msgs[0].be32(12), 1u);
    EXPECT_EQ(msgs[0].be32(16), reason);
  }

  std::shared_ptr<CmdSessionFactory> factory = std::make_shared<CmdSessionFactory>();
  std::shared_ptr<CmdParser> zoth = std::make_shared<CmdParser>("zoth", "Base band trace session.");
  std::shared_ptr<ScriptedParser> scripted = std::make_shared<ScriptedParser>("scripted", "");
};

TEST_F(CmdSessionFactoryTest, RequestsOutsideTheProtocolOrTheTreeAreIgnoredOrRefused) {
  request(std::string("zoth\0", 5), 1, 1, -1, 4);  // not a command request
  EXPECT_TRUE(received().empty());
  request(std::string("zoth\0", 5), 1, 2);  // protocol version 2
  expectRefused(1);
  request("zoth", 1);  // without its final NUL the block loses its last byte: "zot"
  expectRefused(2);
  request(std::string("nope\0a\0b\0", 9), 3);
  expectRefused(2);
}

TEST_F(CmdSessionFactoryTest, MalformedBlocksAreAnsweredNotRead) {
  request("", 0);
  expectAnswer("No command received\n", 1);
  // An empty argument at the end that the front end did not count.
  request(std::string("zoth\0\0", 6), 1);
  expectAnswer("Reported argument count does not match the actual number of arguments.\n", 1);
  request(std::string("zoth\0", 5), 1, 1, 4000);  // a length beyond the message
  expectAnswer("Malformed command request.\n", 1);
  pxm.injectObs(peer, 1, kFrontEndRoutine, 3, {0, 0, 0, 1});  // short of the fixed part
  run();
  expectAnswer("Malformed command request.\n", 1);

  // Counted, the empty argument is the (empty) name of a sub-command.
  request(std::string("zoth\0\0", 6), 2);
  auto msgs = received();
  ASSERT_EQ(msgs.size(), 3u);
  EXPECT_EQ(msgs[1].text(18, 20), "No such subcommand. ");
  EXPECT_EQ(msgs[2].u8(12), 2);
}

TEST_F(CmdSessionFactoryTest, ParserErrorsBecomeTextAndResult) {
  scripted->onParse = [](const std::vector<std::string>& args) -> std::shared_ptr<CmdSession> {
    if (args.at(0) == "code") throw CmdParserErrorCode("bad with code", 5);
    throw CmdParserError("bad");
  };
  request(std::string("scripted\0code\0", 14), 2);
  expectAnswer("bad with code\n", 5);
  request(std::string("scripted\0x\0", 11), 2);
  expectAnswer("bad\n", 1);

  scripted->onParse = [](const std::vector<std::string>&) -> std::shared_ptr<CmdSession> {
    throw std::runtime_error("not ours");
  };
  // Anything else is the main loop's: logged there, nothing sent.
  LogCapture cap;
  request(std::string("scripted\0", 9), 1);
  EXPECT_TRUE(cap.has(Level::Info, "Caught exception not ours"));
  EXPECT_TRUE(received().empty());
}

TEST_F(CmdSessionFactoryTest, StartedSessionGetsItsNumberAndCmdStart) {
  std::vector<std::string> parsed;
  scripted->onParse = [&](const std::vector<std::string>& args) {
    parsed = args;
    return std::make_shared<OutputCmdSession>("fine", 0);
  };
  LogCapture cap;
  request(std::string("scripted\0one\0two\0", 17), 3);
  EXPECT_EQ(parsed, (std::vector<std::string>{"one", "two"}));
  // The life routine takes the first free number, the session the next.
  EXPECT_TRUE(cap.has("cmdId=1198 cmdLine=scripted one two"));
  EXPECT_TRUE(cap.has("cmdId=1198 retVal=0"));
  auto msgs = received();
  ASSERT_EQ(msgs.size(), 3u);
  EXPECT_EQ(msgs[0].srcRoutineId, 1199) << "accepted comes from the life routine";
  EXPECT_EQ(msgs[1].text(18, 5), "fine\n");
  EXPECT_EQ(pxm.leakedMessages(), 0u);
}

}  // namespace
}  // namespace kvn
