// What an operator enables is what flows: real processes record and stream the simulated agent's
// trace records, and kvn-decode turns the dump and the stream back into lines. Agent 1 writes
// records of lpp only, with just ulScheduler's group trace1 enabled.
#include <gtest/gtest.h>
#include <signal.h>

#include <sstream>
#include <string>
#include <vector>

#include "tests/e2e/process.h"
#include "tests/e2e/programs.h"
#include "tests/e2e/test_system.h"

namespace kvn::e2e {
namespace {

const char* const kTrace1 = " daxo 1 lpp ulScheduler trace1 ulScheduler: ue ";
const char* const kObjError = " daxo 1 lpp obj error obj ";

// The record lines of the decoder's output, before its counts.
std::vector<std::string> recordLines(const std::string& out) {
  std::vector<std::string> lines;
  std::istringstream in(out);
  for (std::string line; std::getline(in, line) && line.rfind("-- ", 0) != 0;)
    lines.push_back(line);
  return lines;
}

// Positions of the lines that hold `text`.
std::vector<size_t> linesWith(const std::vector<std::string>& lines, const std::string& text) {
  std::vector<size_t> at;
  for (size_t i = 0; i < lines.size(); ++i)
    if (contains(lines[i], text)) at.push_back(i);
  return at;
}

class DecodeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (*programs::kKvnDecode == '\0' || *programs::kDiagSim == '\0')
      GTEST_SKIP() << "kvn-decode and diag-sim are needed";
    ASSERT_TRUE(system.ok()) << system.error();
  }

  void startAgent() {
    system.describeAgent(
        1,
        R"({"routineId": 10, "implements": "embuf"}, {"routineId": 11, "implements": "memoryBuffer"},)"
        R"( {"routineId": 12, "implements": "traceDest"},)"
        R"( {"routineId": 23, "implements": "forwarder", "link": {"source": "LPP_TRACE", "destination": "EMBUF"}},)"
        R"( {"routineId": 24, "implements": "forwarder", "link": {"source": "EMBUF", "destination": "TN"}})",
        R"("superTrace": {"recordRate": 500})");
    ASSERT_TRUE(system.startAgent(1, {"--sessions-dir", dir.path()}));
    // Nothing but ulScheduler's trace1: no profile, and the utrace point that is on by default
    // switched off.
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"zorf", "log", "disable", "1", "DefaultProfile"},
          {"zorf", "log", "disable", "1", "ulScheduler.alloc"},
          {"zorf", "log", "enable", "1", "ulScheduler", "trace1"}})
      ASSERT_EQ(shell(words), 0) << out;
  }

  int shell(const std::vector<std::string>& words) { return system.shell(words, out); }
  // The words of lpp in the agent's buffer, as its index gives them now.
  uint64_t lppWords() {
    if (shell({"zoth", "recorder", "status", "1"}) != 0) return 0;
    const std::vector<std::string> index = system.journalLines(1, "\"sourceWords\"");
    if (index.empty()) return 0;
    const std::string& line = index.back();
    const size_t end = line.find(']', line.find("\"sourceWords\":["));
    return std::stoull(line.substr(line.rfind(',', end) + 1, end));
  }
  // Records until the buffer has grown past what it held, `marker` and more after it.
  void recordAround(const std::string& marker) {
    ASSERT_EQ(shell({"zoth", "recorder", "start", "1"}), 0) << out;
    ASSERT_TRUE(eventually([&] { return lppWords() > 0; }));
    const size_t traced = system.journalLines(1, R"("traced":true)").size();
    ASSERT_EQ(shell({"zoth", "echo", marker}), 0) << out;
    ASSERT_TRUE(
        eventually([&] { return system.journalLines(1, R"("traced":true)").size() > traced; }));
    const uint64_t atMarker = lppWords();
    ASSERT_TRUE(eventually([&] { return lppWords() > atMarker; }));
    ASSERT_EQ(shell({"zoth", "recorder", "stop", "1"}), 0) << out;
  }
  // Dumps lpp to a file and decodes it; gives the decoder's exit status.
  int dumpAndDecode(std::string& decoded) {
    const std::string file = dir.file("lpp.bin");
    if (system.shell({"--output", file, "zoth", "recorder", "dump", "1:lpp"}, out) != 0) return -1;
    Process decoder(dir, "decode", programs::kKvnDecode,
                    {"--lmc", system.containerFile(), "--module", "dsp1", file});
    const std::optional<int> status = decoder.wait();
    decoded = decoder.out();
    return status.value_or(-1);
  }

  RunDir dir;
  TestSystem system{dir};
  std::string out;
};

// A recording, dumped and decoded; then a stream on loopback, decoded live until Ctrl-C.
TEST_F(DecodeTest, DumpsAndStreamsHoldTheEnabledGroupsWithTheMarkerInPlace) {
  Process diag(dir, "diag", programs::kDiagSim,
               {"--journal", dir.file("diag.journal"), "--sessions-dir", dir.path()});
  ASSERT_TRUE(eventually([&] { return contains(dir.read("diag.journal"), "HELLO_REPLY"); }));
  ASSERT_NO_FATAL_FAILURE(startAgent());
  ASSERT_EQ(shell({"zoth", "route", "1:lpp", "embuf"}), 0) << out;
  recordAround("marker-1");
  std::string decoded;
  ASSERT_EQ(dumpAndDecode(decoded), 0) << decoded;
  std::vector<std::string> lines = recordLines(decoded);
  const std::vector<size_t> marker = linesWith(lines, " daxo 1 lpp echo text marker-1");
  ASSERT_EQ(marker.size(), 1u) << decoded;
  EXPECT_GT(marker[0], 0u) << decoded;
  EXPECT_LT(marker[0] + 1, lines.size()) << decoded;
  EXPECT_EQ(linesWith(lines, kTrace1).size() + 1, lines.size()) << decoded;
  EXPECT_TRUE(contains(decoded, "\nulScheduler trace1: " + std::to_string(lines.size() - 1) + "\n"))
      << decoded;

  // ulScheduler's trace1 off, obj's error on: the new recording has obj's records around the
  // marker and none of ulScheduler.
  ASSERT_EQ(shell({"zorf", "log", "disable", "1", "ulScheduler", "trace1"}), 0) << out;
  ASSERT_EQ(shell({"zorf", "log", "enable", "1", "obj", "error"}), 0) << out;
  recordAround("marker-2");
  ASSERT_EQ(dumpAndDecode(decoded), 0) << decoded;
  lines = recordLines(decoded);
  EXPECT_EQ(linesWith(lines, " ulScheduler ").size(), 0u) << decoded;
  EXPECT_EQ(linesWith(lines, "marker-1").size(), 0u) << decoded;
  EXPECT_EQ(linesWith(lines, " echo text marker-2").size(), 1u) << decoded;
  EXPECT_EQ(linesWith(lines, kObjError).size() + 1, lines.size()) << decoded;

  // The buffer streamed to a decoder on loopback.
  Process decoder(dir, "listen", programs::kKvnDecode,
                  {"--lmc", system.containerFile(), "--module", "dsp1", "--listen", "127.0.0.1:0"});
  std::string port;
  ASSERT_TRUE(eventually([&] {
    const std::string err = decoder.err();
    const size_t at = err.find("listening on 127.0.0.1:");
    if (at == std::string::npos || err.find('\n', at) == std::string::npos) return false;
    port = err.substr(at + 23, err.find('\n', at) - at - 23);
    return true;
  })) << decoder.err();
  ASSERT_EQ(shell({"zoth", "dest", "add", "net1", "127.0.0.1", port, "ManagedElement=1"}), 0)
      << out;
  ASSERT_EQ(shell({"zoth", "route", "1:embuf", "net1"}), 0) << out;
  ASSERT_EQ(out, "Streaming started\n");

  ASSERT_TRUE(eventually([&] { return contains(decoder.out(), kObjError); })) << decoder.err();
  ASSERT_EQ(shell({"zoth", "echo", "marker-s"}), 0) << out;
  ASSERT_TRUE(eventually([&] {
    const std::string seen = decoder.out();
    const size_t at = seen.find(" daxo 1 lpp echo text marker-s\n");
    return at != std::string::npos && seen.find(kObjError, at) != std::string::npos;
  })) << decoder.out();
  EXPECT_EQ(decoder.stop(SIGINT), 0) << decoder.err();
  decoded = decoder.out();
  lines = recordLines(decoded);
  EXPECT_EQ(linesWith(lines, kObjError).size() + 1, lines.size()) << decoded;
  EXPECT_TRUE(contains(decoded, "\nsource lpp: " + std::to_string(lines.size()) + "\n")) << decoded;
  EXPECT_TRUE(contains(decoded, "\ngaps: 0 in ")) << decoded;
}

}  // namespace
}  // namespace kvn::e2e
