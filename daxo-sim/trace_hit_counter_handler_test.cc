#include "daxo-sim/trace_hit_counter_handler.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <vector>

namespace kvn::daxosim {
namespace {

constexpr size_t kHeader = 12;

uint16_t be16(const std::vector<uint8_t>& m, size_t at) {
  return static_cast<uint16_t>(m[at] << 8 | m[at + 1]);
}

TEST(TraceHitCounterHandlerTest, ServesTheTableInPiecesAndClearsIt) {
  const AgentDescription d = AgentDescription::fromJson(nlohmann::json::parse(R"({
    "bbmHwNumber": 1, "traceHitCounter": {"rowsPerConfirm": 2, "droppedHits": 4, "rows": [
      {"strid": 1, "group": 4, "args": [7, 8, 9], "counter": 3, "firstHit": 10, "lastHit": 20},
      {"strid": 2}, {"strid": 3}]}})"));
  TraceHitCounterHandler handler(d.traceHitCounter);
  std::vector<std::vector<uint8_t>> sent;
  const ReplyPath reply([&](std::vector<uint8_t> m, uint32_t) { sent.push_back(m); }, 1, 70, 32);
  const auto ask = [&](uint16_t submsgno, std::vector<uint8_t> body) {
    AgentHandler::Request r;
    r.submsgno = submsgno;
    r.body = body.data();
    r.bodySize = body.size();
    nlohmann::json entry;
    handler.handle(r, reply, entry);
    return sent.back();
  };

  std::vector<uint8_t> m = ask(0, {});
  EXPECT_EQ(be16(m, 8), 1);
  EXPECT_EQ(m.size(), kHeader + 16);
  EXPECT_EQ(be16(m, 14), 4);  // droppedHits, low half
  EXPECT_EQ(be16(m, 26), 3);  // nrOfEntries, low half

  m = ask(2, {0, 0});
  EXPECT_EQ(be16(m, 8), 3);
  EXPECT_EQ(be16(m, 12), 2);  // rows, at most rowsPerConfirm
  EXPECT_EQ(m.size(), kHeader + 4 + 2 * 28);
  EXPECT_EQ(be16(m, 16), 1);
  EXPECT_EQ(be16(m, 18), 4);
  EXPECT_EQ(be16(m, 22), 7);  // arg1, low half
  m = ask(2, {0, 2});
  EXPECT_EQ(be16(m, 12), 1);
  EXPECT_EQ(be16(m, 14), 2);
  EXPECT_EQ(be16(m, 16), 3);
  EXPECT_EQ(be16(ask(2, {0, 9}), 12), 0);

  EXPECT_EQ(be16(ask(4, {}), 8), 5);
  EXPECT_EQ(be16(ask(0, {}), 26), 0);
}

}  // namespace
}  // namespace kvn::daxosim
