// `recorder dump` against an agent and a front end that the test plays by hand.

#include "service/datapath/recorder_dump_cmd_session.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "service/datapath/recorder_test_fixture.h"
#include "service/datapath/recorder_time.h"

namespace kvn::testing {
namespace {

class RecorderDumpTest : public RecorderTestFixture {
 protected:
  void SetUp() override {
    connectDaxo();
    idle = table.usedSlots();
  }

  // Runs the dump up to its data requests: marker confirmed, index answered.
  std::vector<Sent> dump(const std::vector<std::string>& args,
                         const std::vector<kvnSuperBlockHeaderS>& headers) {
    cmd(args);
    confirmPrints();  // the marker, if any
    std::vector<Sent> sent = requests();
    EXPECT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent.at(0).submsgno, 10);
    answer(sent.at(0), 11, indexBody(headers));
    return requests();
  }
  // blockId, seqNum, offset and length of each data request.
  static std::vector<std::vector<uint32_t>> fields(const std::vector<Sent>& sent) {
    std::vector<std::vector<uint32_t>> out;
    for (const Sent& s : sent) out.push_back({s.be16(12), s.be16(14), s.be32(16), s.be32(20)});
    return out;
  }
  // The data chunks' bytes, compared without printing them.
  void expectDumped(const std::string& want) const {
    std::string got;
    for (const Print& p : prints)
      if (p.sequence != 0) got += p.bytes;
    EXPECT_EQ(got.size(), want.size());
    EXPECT_TRUE(got == want);
  }

  using F = std::vector<std::vector<uint32_t>>;
  size_t idle = 0;
};

// Blocks of 2500 and 2048 words: four requests out at once, one more for each chunk the front end
// confirms, the last of a block shorter and none empty; chunks that overtake each other wait.
TEST_F(RecorderDumpTest, RequestsFourAtATimeAndPrintsTheChunksInOrder) {
  // Listed out of sequence order; an rtt block is not asked for.
  std::vector<Sent> sent =
      dump({"dump", "1:lpp", "--base64"}, {block(4, 9, 2048), block(1, 5, 100), block(4, 3, 2500)});
  ASSERT_EQ(prints.size(), 1u);
  EXPECT_EQ(prints[0].bytes, "LPP\n");
  EXPECT_EQ(prints[0].stream, 1);
  EXPECT_EQ(fields(sent),
            (F{{2, 1, 0, 1024}, {2, 2, 1024, 1024}, {2, 3, 2048, 452}, {0, 4, 0, 1024}}));
  answerData(sent[1]);
  answerData(sent[3]);
  EXPECT_EQ(prints.size(), 1u);  // 1 is still missing
  answerData(sent[0]);
  ASSERT_EQ(prints.size(), 3u);
  EXPECT_EQ(prints[1].sequence, 1);
  EXPECT_EQ(prints[2].sequence, 2);
  EXPECT_EQ(requests().size(), 0u);  // the window is full until the front end confirms
  confirmPrints();
  std::vector<Sent> more = requests();
  EXPECT_EQ(fields(more), (F{{0, 5, 1024, 1024}}));  // one for each confirmed chunk, then done
  answerData(sent[2]);
  answerData(more[0]);
  ASSERT_EQ(prints.size(), 6u);
  EXPECT_EQ(result, -1);
  confirmPrints();
  EXPECT_EQ(result, 0);
  expectDumped(words(2, 0, 2500) + words(0, 0, 2048));
  EXPECT_EQ(prints[5].stream, 1);
  EXPECT_EQ(settled(), idle);
}

TEST_F(RecorderDumpTest, TheTimeWindowKeepsWholeBlocksThatReachIntoIt) {
  const std::vector<kvnSuperBlockHeaderS> h = {block(2, 1, 10, 0, 500000),
                                               block(3, 2, 10, 500000, 1500000),
                                               block(1, 3, 10, 1500000, 2500000)};
  // The last second of the data is 1.5 s to 2.5 s: block 1 ends just at its start.
  EXPECT_EQ(fields(dump({"dump", "1:rtt", "-d", "1s"}, h)), (F{{1, 1, 0, 10}, {2, 2, 0, 10}}));
  EXPECT_TRUE(prints.empty());  // no marker without lpp
  const int64_t t0 = int64_t{kSuperT} * 1000000;
  EXPECT_EQ(
      fields(dump({"dump", "1:rtt", "--time", formatTimestamp(t0 + 600000), "-d", "100us"}, h)),
      (F{{1, 1, 0, 10}}));
  EXPECT_EQ(fields(dump({"dump", "1:rtt", "-t", formatTimestamp(t0 + 2500001)}, h)), F{});
  EXPECT_EQ(result, 0);
  EXPECT_EQ(fields(dump({"dump", "1:token"}, h)), F{});  // nothing recorded of it
  EXPECT_EQ(result, 0);
  EXPECT_TRUE(prints.empty());
}

// The largest index an agent can send: 65535 headers in one message of 2.6 MB.
TEST_F(RecorderDumpTest, TheLargestIndexIsTakenWhole) {
  std::vector<kvnSuperBlockHeaderS> h;
  for (uint32_t i = 0; i < 65535; ++i)
    h.push_back(block(4, static_cast<uint16_t>(65534 - i), 1, i, i + 1));
  // The last microsecond holds the last two blocks, which are the first two by sequence.
  EXPECT_EQ(fields(dump({"dump", "1:lpp", "-d", "1us"}, h)),
            (F{{65534, 1, 0, 1}, {65533, 2, 0, 1}}));
}

TEST_F(RecorderDumpTest, AConfirmThatPromisesTooMuchEndsTheDump) {
  for (int length : {1025, 11}) {  // more than asked; more than the message holds
    LogCapture cap;
    std::vector<Sent> sent = dump({"dump", "1:rtt"}, {block(1, 1, 1024)});
    if (length == 11) {
      std::vector<uint8_t> body(sent[0].body.begin(), sent[0].body.end());
      body[10] = 0, body[11] = 10 + 1;
      body.resize(body.size() + 20);  // ten words
      answer(sent[0], 13, body);
    } else {
      answerData(sent[0], length);
    }
    EXPECT_EQ(result, 1);
    EXPECT_EQ(prints.size(), 0u);
    EXPECT_TRUE(std::any_of(cap.lines().begin(), cap.lines().end(),
                            [](const LogCapture::Line& l) { return l.level == Level::Error; }));
    EXPECT_EQ(settled(), idle);
  }
  // An index that announces more headers than it holds.
  cmd({"dump", "1:rtt"});
  answer(requests().at(0), 11, indexBody({block(1, 1, 10), block(1, 2, 10)}, 3));
  EXPECT_EQ(result, 1);
  EXPECT_EQ(text(), "Invalid buffer index from daxo 1.\n");
}

TEST_F(RecorderDumpTest, AStrayConfirmIsDroppedAndItsRequestAskedAgain) {
  std::vector<Sent> sent = dump({"dump", "1:rtt"}, {block(1, 1, 1024), block(2, 2, 1024)});
  answerData(sent[0]);
  answerData(sent[1], -1, 1);  // names the chunk printed already
  std::vector<Sent> again = requests();
  ASSERT_EQ(again.size(), 1u);
  EXPECT_EQ(again[0].body, sent[1].body);
  answerData(again[0], -1, 7);  // never asked for
  again = requests();
  ASSERT_EQ(again.size(), 1u);
  answerData(again[0]);
  confirmPrints();
  EXPECT_EQ(result, 0);
  expectDumped(words(0, 0, 1024) + words(1, 0, 1024));
}

TEST_F(RecorderDumpTest, AnAgentLostEndsTheDumpAndLeavesNoRoutineBehind) {
  std::vector<Sent> sent = dump({"dump", "1:lpp"}, {block(4, 1, 4096)});
  answerData(sent[0]);
  pxm.kill(daxo);
  run();
  EXPECT_EQ(result, 1);
  confirmPrints();
  expectDumped(words(0, 0, 1024));
  EXPECT_EQ(settled(), idle);

  // Lost while the index is fetched: the action's text.
  connectDaxo();
  cmd({"dump", "1:rtt"});
  pxm.kill(daxo);
  run();
  EXPECT_EQ(result, 1);
  EXPECT_EQ(text(), "Action failed due to loss of daxo 1.\n");
}

}  // namespace
}  // namespace kvn::testing
