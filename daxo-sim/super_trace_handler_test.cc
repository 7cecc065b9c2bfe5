// The simulated SuperTrace path on a clock of the test's: producers and consumer over the
// buffer, the buffer's notices to the service, the delayed stop confirms.

#include "daxo-sim/super_trace_handler.h"

#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "daxo-sim/agent_description.h"
#include "daxo-sim/memory_buffer_handler.h"

namespace kvn::daxosim {
namespace {

using namespace std::chrono_literals;

constexpr uint32_t kService = 0x10001;
constexpr uint16_t kRoutine = 10, kBufferRoutine = 11;

class SuperTraceHandlerTest : public ::testing::Test {
 protected:
  using Clock = SuperTraceHandler::Clock;
  struct Out {
    uint16_t dst, src, submsgno;
    std::vector<uint8_t> body;
    uint32_t at(size_t offset, int bytes) const {  // a big-endian field of the body
      uint32_t v = 0;
      for (int i = 0; i < bytes; ++i) v = v << 8 | body.at(offset + i);
      return v;
    }
  };

  static SuperTraceSettings testSettings() {
    SuperTraceSettings s;
    s.producerRate = 1000;
    s.consumerRate = 500;
    s.stopDelayMs = 100;
    return s;
  }

  // A request from the service's routine `from`, at the present time.
  void request(AgentHandler& handler, uint16_t dst, uint16_t submsgno,
               std::vector<uint8_t> body = {}, uint16_t from = 900) {
    AgentHandler::Request r;
    r.senderMailbox = kService;
    r.dstRoutineId = dst;
    r.srcRoutineId = from;
    r.submsgno = submsgno;
    r.body = body.data();
    r.bodySize = body.size();
    nlohmann::json entry;
    handler.handle(r, ReplyPath(transport, kService, from, dst), entry);
  }
  void after(Clock::duration d) {
    now += d;
    handler.advance();
  }
  // The sub-message numbers sent since the last look.
  std::vector<uint16_t> sent() {
    std::vector<uint16_t> out;
    for (const Out& o : messages) out.push_back(o.submsgno);
    messages.clear();
    return out;
  }

  using V = std::vector<uint16_t>;

  std::vector<Out> messages;
  ReplyPath::Transport transport = [this](std::vector<uint8_t> m, uint32_t to) {
    EXPECT_EQ(to, kService);
    messages.push_back(
        {static_cast<uint16_t>(m[4] << 8 | m[5]), static_cast<uint16_t>(m[6] << 8 | m[7]),
         static_cast<uint16_t>(m[8] << 8 | m[9]), std::vector<uint8_t>(m.begin() + 12, m.end())});
  };
  Clock::time_point now = Clock::time_point() + 1h;
  SuperTraceSettings settings = testSettings();
  sim::Journal journal{"/dev/null"};
  SimulatedBuffer buffer{1000, 300};
  SuperTraceHandler handler{buffer, settings, journal, [this] { return now; }};
  MemoryBufferHandler memory{buffer};
};

// A stream fills the buffer, is told to stop its producers, drains, and starts again.
TEST_F(SuperTraceHandlerTest, AStreamReportsAFullAndADrainedBuffer) {
  uint64_t consumed = 0;
  handler.setOnConsumed([&](uint64_t words) { consumed += words; });
  request(memory, kBufferRoutine, 6, {0, 3});
  EXPECT_EQ(sent(), V{7});
  request(handler, kRoutine, 3, {0x00, 0x03});  // token and the first rtt source: 2000 words/s
  request(handler, kRoutine, 0);
  after(200ms);  // 400 in, 100 out
  after(300ms);  // 750
  EXPECT_EQ(sent(), V{});
  after(200ms);  // 250 of 400 fit
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0].dst, SuperTraceHandler::kServiceRoutine);
  EXPECT_EQ(messages[0].src, kRoutine);
  EXPECT_EQ(sent(), V{8});
  after(100ms);  // still full: said once
  EXPECT_EQ(sent(), V{});

  request(handler, kRoutine, 4, {0x00, 0x03});
  after(50ms);
  EXPECT_EQ(sent(), V{});  // the stop takes its time
  after(50ms);
  EXPECT_EQ(sent(), V{5});
  EXPECT_FALSE(handler.producing());
  after(1900ms);  // 975 words at 500 a second
  EXPECT_EQ(sent(), V{});
  after(100ms);
  EXPECT_EQ(sent(), V{9});
  EXPECT_EQ(buffer.level(), 0u);
  after(1s);  // empty once
  EXPECT_EQ(sent(), V{});

  request(handler, kRoutine, 3, {0x00, 0x01});
  after(10ms);
  EXPECT_TRUE(handler.producing());
  request(handler, kRoutine, 1);
  after(100ms);
  EXPECT_EQ(sent(), V{2});
  EXPECT_FALSE(handler.consuming());
  EXPECT_EQ(consumed, 1425u + 5u + 50u);
}

// Without a consumer the producers record: the newest data stays, in blocks per source, and
// nothing is said of a full buffer.
TEST_F(SuperTraceHandlerTest, ARecordingKeepsTheNewestBlocks) {
  request(memory, kBufferRoutine, 6, {0, 3});
  request(handler, kRoutine, 3, {0x00, 0x11});  // token and lpp
  sent();
  after(100ms);
  ASSERT_EQ(buffer.blocks().size(), 2u);
  EXPECT_EQ(buffer.blocks()[0].source, 0);
  EXPECT_EQ(buffer.blocks()[1].source, 4);
  EXPECT_EQ(buffer.blocks()[1].size, 100u);
  after(2s);
  EXPECT_EQ(sent(), V{});
  EXPECT_LE(buffer.level(), 1000u);
  EXPECT_GT(buffer.blocks().front().sequence, 2);  // the first blocks gave way
  for (const SimulatedBuffer::Block& b : buffer.blocks()) {
    EXPECT_LE(b.size, 300u);
    EXPECT_TRUE(b.source == 0 || b.source == 4);
  }
  request(memory, kBufferRoutine, 6, {0, 3});  // a new set-up starts empty
  EXPECT_EQ(buffer.level(), 0u);
}

// The index lists the recorded blocks with their headers; data requests are served from the
// blocks of that index, a counter per source.
TEST_F(SuperTraceHandlerTest, TheIndexAndTheDataOfARecording) {
  request(memory, kBufferRoutine, 6, {0, 3});
  request(handler, kRoutine, 3, {0x00, 0x11});  // token and lpp, 1000 words/s each
  for (int i = 0; i < 40; ++i) after(10ms);
  sent();
  request(memory, kBufferRoutine, 10);
  ASSERT_EQ(messages.size(), 1u);
  const Out index = messages[0];
  EXPECT_EQ(index.submsgno, 11);
  EXPECT_EQ(index.at(0, 4), 300u);  // block size
  ASSERT_EQ(index.at(4, 2), 4u);
  ASSERT_EQ(index.body.size(), 6u + 4 * 40);
  // token 300, lpp 300, token 100, lpp 100; 30 writes of 10 words in the full blocks.
  const uint32_t want[4][3] = {{0, 300, 30}, {4, 300, 30}, {0, 100, 10}, {4, 100, 10}};
  for (size_t b = 0; b < 4; ++b) {
    const size_t h = 6 + b * 40;
    EXPECT_EQ(index.at(h, 2), want[b][0]);
    EXPECT_NE(index.at(h + 2, 4), 0u);  // address
    EXPECT_EQ(index.at(h + 6, 4), want[b][1]);
    EXPECT_EQ(index.at(h + 10, 2), want[b][2]);
    EXPECT_EQ(index.at(h + 14, 2), b + 1);        // sequence
    EXPECT_GE(index.at(h + 16, 4), 0x58684680u);  // wall time
    // The frame number moves on by 10 ms a frame: 290 ms from the first write to the last.
    const uint32_t startBfn = index.at(h + 24, 4), endBfn = index.at(h + 36, 4);
    if (b < 2) {
      EXPECT_EQ(((endBfn >> 20) - (startBfn >> 20)) & 0xFFF, 29u);
    }
  }
  sent();
  // Block 2 is token's second: its words 10 to 14 are words 310 to 314 of the token stream.
  request(memory, kBufferRoutine, 12, {0, 2, 0, 7, 0, 0, 0, 10, 0, 0, 0, 5});
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0].submsgno, 13);
  EXPECT_EQ(messages[0].body,
            (std::vector<uint8_t>{0, 2,    0,    7,    0,    0,    0,    10,   0,    0,    0,
                                  5, 0x01, 0x36, 0x01, 0x37, 0x01, 0x38, 0x01, 0x39, 0x01, 0x3A}));
  sent();
  // Past the end of the block, or of the index: what there is.
  request(memory, kBufferRoutine, 12, {0, 3, 0, 8, 0, 0, 0, 98, 0, 0, 4, 0});
  EXPECT_EQ(messages[0].at(8, 4), 2u);
  EXPECT_EQ(messages[0].at(12, 2), 0x4000u | 398);
  request(memory, kBufferRoutine, 12, {0, 9, 0, 9, 0, 0, 0, 0, 0, 0, 0, 1});
  EXPECT_EQ(messages[1].at(8, 4), 0u);
}

TEST(SuperTraceSettingsTest, AFixedIndexRepeatsItsBlocksToTheCount) {
  const SuperTraceSettings s = SuperTraceSettings::fromJson(nlohmann::json::parse(R"({
    "fixedIndex": {"blockSize": 100, "count": 5, "blocks": [
      {"source": 4, "size": 100, "sequence": 7, "start": [1500000000, 0, 0],
       "end": [1500000001, 0, 0]},
      {"source": 9, "size": 10, "sequence": 65535}]}})"));
  ASSERT_TRUE(s.fixedIndex);
  const std::vector<SimulatedBuffer::Block>& b = s.fixedIndex->blocks;
  ASSERT_EQ(b.size(), 5u);
  EXPECT_EQ(b[1].sequence, 0xFFFF);  // as given: not valid
  EXPECT_EQ(b[2].sequence, 0);       // numbered on from 0xFFFF
  EXPECT_EQ(b[3].sequence, 1);
  EXPECT_EQ(b[4].source, 4);
  EXPECT_EQ(b[4].startTime.seconds, 1500000000u + 2 * 2);
  EXPECT_THROW(SuperTraceSettings::fromJson(
                   nlohmann::json::parse(R"({"fixedIndex": {"blocks": [{"size": 1}]}})")),
               AgentDescription::Error);
}

}  // namespace
}  // namespace kvn::daxosim
