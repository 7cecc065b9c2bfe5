// zoth recorder with real processes: the hub, the service, kvnsh and an agent simulator that
// records rtt and lpp into its buffer; the dump's bytes are checked against the counter each
// simulated source writes.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "tests/e2e/process.h"
#include "tests/e2e/test_system.h"

namespace kvn::e2e {
namespace {

using namespace std::chrono_literals;

// Word i of lpp's stream is 0x4000 with i modulo 4096, big-endian: the words from `first` on.
bool isLppFrom(const std::string& bytes, uint32_t first) {
  if (bytes.size() % 2 != 0) return false;
  for (size_t i = 0; i < bytes.size() / 2; ++i) {
    const uint16_t w = static_cast<uint16_t>(static_cast<uint8_t>(bytes[2 * i]) << 8 |
                                             static_cast<uint8_t>(bytes[2 * i + 1]));
    if (w != (0x4000 | ((first + i) & 0xFFF))) return false;
  }
  return true;
}

class RecorderCommandTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(system.ok()) << system.error();
    // Four sources at 20000 words/s each: the buffer holds 5 s, blocks fill in about 0.2 s.
    system.describeAgent(
        1,
        R"({"routineId": 10, "implements": "embuf"}, {"routineId": 11, "implements": "memoryBuffer"},)"
        R"( {"routineId": 22, "implements": "forwarder", "link": {"source": "RTT", "destination": "EMBUF"}},)"
        R"( {"routineId": 23, "implements": "forwarder", "link": {"source": "LPP_TRACE", "destination": "EMBUF"}})",
        R"("superTrace": {"bufferWords": 400000, "blockWords": 4096, "producerRate": 20000})");
    ASSERT_TRUE(system.startAgent(1));
  }

  // The seconds of lpp data in agent 1's buffer, from the duration column of the status.
  double lppSeconds() {
    std::string out;
    if (system.shell({"zoth", "recorder", "status", "1"}, out) != 0) return 0;
    const size_t at = out.find("\n   lpp ");
    if (at == std::string::npos) return 0;
    std::istringstream row(out.substr(at, out.find('\n', at + 1) - at));
    const std::vector<std::string> f{std::istream_iterator<std::string>(row), {}};
    return f.size() >= 3 ? std::stod(f[f.size() - 3]) : 0;
  }

  RunDir dir;
  TestSystem system{dir};
};

// A recording, and an index of the largest size from another agent.
TEST_F(RecorderCommandTest, ARecordingIsStoppedShownAndDumpedWholeAndTheLargestIndexPasses) {
  std::string out;
  EXPECT_EQ(system.shell({"zoth", "recorder", "start", "1"}, out), 1);
  EXPECT_EQ(out, "No valid route for daxo 1.\n");
  ASSERT_EQ(system.shell({"zoth", "route", "1:rtt", "embuf"}, out), 0) << out;
  ASSERT_EQ(system.shell({"zoth", "route", "1:lpp", "embuf"}, out), 0) << out;
  ASSERT_EQ(system.shell({"zoth", "recorder", "start", "1"}, out), 0) << out;
  EXPECT_EQ(out, "Started streaming or recording on daxos.\n");
  // More than the last second that the dump below asks for.
  ASSERT_TRUE(eventually([&] { return lppSeconds() > 1.5; }, 30s));
  ASSERT_EQ(system.shell({"zoth", "recorder", "stop", "1"}, out), 0) << out;
  EXPECT_EQ(out, "Stopped recording on daxos.\n");

  ASSERT_EQ(system.shell({"zoth", "recorder", "status", "1"}, out), 0) << out;
  EXPECT_TRUE(contains(out, "  Agent       interrupts [#/ms]  interrupts [#/ms]  load [KiB/s]"))
      << out;
  EXPECT_TRUE(contains(out, "\n bbEqm000001 ")) << out;
  EXPECT_TRUE(contains(out, "\n   lpp ")) << out;
  EXPECT_FALSE(contains(out, "currently recording")) << out;
  // The words of lpp in the index the agent answered last, after the stop.
  const std::vector<std::string> index = system.journalLines(1, "\"sourceWords\"");
  ASSERT_FALSE(index.empty());
  const std::string& latest = index.back();
  const size_t at = latest.find("\"sourceWords\":[");
  const std::string words = latest.substr(at + 15, latest.find(']', at) - at - 15);
  const uint64_t lppWords = std::stoull(words.substr(words.rfind(',') + 1));
  ASSERT_GT(lppWords, 20000u);

  const std::string file = dir.file("lpp.bin");
  ASSERT_EQ(system.shell({"--output", file, "zoth", "recorder", "dump", "1:lpp"}, out), 0) << out;
  const std::string dumped = dir.read("lpp.bin");
  ASSERT_EQ(dumped.substr(0, 4), "LPP\n");
  const std::string data = dumped.substr(4);
  EXPECT_EQ(data.size(), lppWords * 2);
  EXPECT_TRUE(isLppFrom(data, 0));  // every block whole, in sequence order

  // The base64 form, read back by the system's own tool.
  ASSERT_EQ(system.shell({"zoth", "recorder", "dump", "1:lpp", "--base64"}, out), 0);
  std::ofstream(dir.file("lpp.b64")) << out;
  const std::string decode = "base64 -d " + dir.file("lpp.b64") + " > " + dir.file("lpp.raw");
  EXPECT_EQ(std::system(decode.c_str()), 0);
  EXPECT_TRUE(dir.read("lpp.raw") == dumped) << out.size();

  // The last second: whole blocks at the end of the recording, in their order.
  ASSERT_EQ(system.shell({"--output", file, "zoth", "recorder", "dump", "1:lpp", "-d", "1s"}, out),
            0)
      << out;
  const std::string last = dir.read("lpp.bin");
  ASSERT_EQ(last.substr(0, 4), "LPP\n");
  const size_t skipped = data.size() - (last.size() - 4);
  EXPECT_GT(skipped, 0u);
  EXPECT_GT(last.size(), 4u);
  EXPECT_EQ(skipped % (4096 * 2), 0u);  // blocks are dropped whole
  EXPECT_TRUE(isLppFrom(last.substr(4), static_cast<uint32_t>(skipped / 2)));

  // The largest index an agent can send, 65535 headers in one message of 2.6 MB, passes the hub
  // and the service.
  system.describeAgent(
      2,
      R"({"routineId": 10, "implements": "embuf"}, {"routineId": 11, "implements": "memoryBuffer"})",
      R"("superTrace": {"fixedIndex": {"blockSize": 4096, "count": 65535, "blocks": [)"
      R"({"source": 4, "size": 4096, "dmaInterrupts": 20, "start": [1700000000, 0, 0], "end": [1700000000, 200000, 0]},)"
      R"({"source": 1, "size": 2048, "dmaInterrupts": 10, "start": [1700000000, 200000, 0], "end": [1700000000, 400000, 0]}]}})");
  ASSERT_TRUE(system.startAgent(2));
  EXPECT_EQ(system.shell({"zoth", "recorder", "status", "2"}, out), 0) << out;
  EXPECT_TRUE(contains(out, "\n bbEqm000002 ")) << out;
  EXPECT_EQ(system.journalLines(2, "\"blocks\":65535").size(), 1u);
}

}  // namespace
}  // namespace kvn::e2e
