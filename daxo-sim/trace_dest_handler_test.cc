#include "daxo-sim/trace_dest_handler.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace kvn::daxosim {
namespace {

TEST(TraceDestHandlerTest, AnswersFromTheDescriptionAndRejectsTheChosenStep) {
  std::vector<std::vector<uint8_t>> sent;
  ReplyPath reply([&sent](std::vector<uint8_t> m, uint32_t) { sent.push_back(std::move(m)); }, 1,
                  900, 50);
  AgentDescription::TraceDest values;
  values.portId = 7;
  values.agentVlan = 33;
  values.sourceInfoA = 0xA1A2A3A4;
  values.socketId = 9;
  TraceDestHandler handler(values, TraceDestHandler::parseRejection("close:-3"));
  AgentHandler::Request req;
  nlohmann::json entry;
  handler.handle(req, reply, entry);  // alloc
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0].size(), 32u);
  EXPECT_EQ(sent[0][9], 1);  // the confirm
  EXPECT_EQ(std::vector<uint8_t>(sent[0].begin() + 12, sent[0].begin() + 16),
            (std::vector<uint8_t>{0, 7, 0, 33}));
  EXPECT_EQ(sent[0][26], 0xA1);

  const uint8_t open[16] = {0, 7, 0, 1, 0, 1};
  req.submsgno = 9, req.body = open, req.bodySize = sizeof open;
  handler.handle(req, reply, entry);
  EXPECT_EQ(std::vector<uint8_t>(sent[1].begin() + 8, sent[1].end()),
            (std::vector<uint8_t>{0, 10, 0, 0, 0, 1, 0, 9}));

  const uint8_t close[6] = {0, 7, 0, 1, 0, 9};
  req.submsgno = 12, req.body = close, req.bodySize = sizeof close;
  handler.handle(req, reply, entry);
  EXPECT_EQ(std::vector<uint8_t>(sent[2].begin() + 8, sent[2].end()),
            (std::vector<uint8_t>{0, 14, 0, 0, 0xFF, 0xFD}));
  EXPECT_THROW(TraceDestHandler::parseRejection("bind:1"), std::invalid_argument);
}

}  // namespace
}  // namespace kvn::daxosim
