#include "daxo-sim/measurements_handler.h"

#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace kvn::daxosim {
namespace {

class MeasurementsHandlerTest : public ::testing::Test {
 protected:
  static constexpr uint16_t kServiceRoutine = 1100, kOwnRoutine = 31;
  struct Sent {
    uint16_t dst;
    uint16_t src;
    uint16_t submsgno;
    std::vector<uint8_t> message;
  };

  MeasurementsHandlerTest() {
    char path[] = "/tmp/daxo-journal-XXXXXX";
    close(mkstemp(path));
    journalPath_ = path;
    journal_ = std::make_unique<sim::Journal>(journalPath_);
    handler_ = std::make_unique<MeasurementsHandler>(figures_, *journal_);
  }
  ~MeasurementsHandlerTest() override { unlink(journalPath_.c_str()); }

  nlohmann::json request(uint16_t submsgno, std::vector<uint8_t> body = {}) {
    AgentHandler::Request r;
    r.srcRoutineId = kServiceRoutine;
    r.dstRoutineId = kOwnRoutine;
    r.submsgno = submsgno;
    r.body = body.data();
    r.bodySize = body.size();
    nlohmann::json entry;
    handler_->handle(r, reply_, entry);
    return entry;
  }
  static uint32_t be(const std::vector<uint8_t>& m, size_t offset, size_t bytes) {
    uint32_t v = 0;
    for (size_t i = 0; i < bytes; ++i) v = v << 8 | m[offset + i];
    return v;
  }

  MeasurementFigures figures_;
  std::string journalPath_;
  std::unique_ptr<sim::Journal> journal_;
  std::unique_ptr<MeasurementsHandler> handler_;
  std::vector<Sent> sent_;
  ReplyPath reply_{
      [this](std::vector<uint8_t> m, uint32_t) {
        sent_.push_back({static_cast<uint16_t>(be(m, 4, 2)), static_cast<uint16_t>(be(m, 6, 2)),
                         static_cast<uint16_t>(be(m, 8, 2)), m});
      },
      7, kServiceRoutine, kOwnRoutine};
};

TEST_F(MeasurementsHandlerTest, AMeasurementEndsByItselfUnlessStopped) {
  request(0, {0xD6, 0x93, 0xA4, 0x00});  // an hour
  ASSERT_EQ(sent_.size(), 1u);
  EXPECT_EQ(sent_[0].submsgno, 1);
  EXPECT_GT(handler_->msUntilNext(), 3000000);
  request(2);
  EXPECT_EQ(handler_->msUntilNext(), -1) << "stopped: nothing will end";
  handler_->sendDue();
  ASSERT_EQ(sent_.size(), 2u);
  EXPECT_EQ(sent_[1].submsgno, 3);

  request(0, {0, 0, 0, 0});
  handler_->sendDue();
  ASSERT_EQ(sent_.size(), 4u);
  EXPECT_EQ(sent_[3].dst, MeasurementsHandler::kServiceDspLoadRoutine);
  EXPECT_EQ(sent_[3].src, kOwnRoutine);
  EXPECT_EQ(sent_[3].submsgno, 6);
  EXPECT_EQ(sent_[3].message.size(), 12u);
  EXPECT_EQ(handler_->msUntilNext(), -1);
  std::ifstream in(journalPath_);
  std::string line;
  std::getline(in, line);
  EXPECT_EQ(nlohmann::json::parse(line)["event"], "dspload_ended");
}

TEST_F(MeasurementsHandlerTest, PrintAndCmPoolConfirmsCarryTheFigures) {
  request(4, {1, 0});
  ASSERT_EQ(sent_.size(), 1u);
  EXPECT_EQ(sent_[0].message.size(), 46u) << "no DSPs: the room of one entry";
  EXPECT_EQ(be(sent_[0].message, 14, 4), 1000000u) << "a snapshot's measured time";

  figures_.dsps.push_back({1, 2, 3, {4, 5, 6, 7, 8}, 1});
  figures_.dsps.push_back({9, 10, 11, {}, 0});
  request(4, {0, 0});
  const std::vector<uint8_t>& print = sent_[1].message;
  ASSERT_EQ(print.size(), 18u + 2 * 28);
  EXPECT_EQ(be(print, 12, 2), 2u);
  EXPECT_EQ(be(print, 18 + 2, 2), 2u) << "max of DSP 0";
  EXPECT_EQ(be(print, 18 + 6 + 4 * 4, 4), 8u) << "last count of DSP 0";
  EXPECT_EQ(be(print, 18 + 26, 2), 1u) << "DSP 0 pooled";
  EXPECT_EQ(be(print, 18 + 28, 2), 9u) << "min of DSP 1";

  figures_.allocatedWords = 500;
  figures_.blocks.push_back({8, 100, 12, 20});
  request(7);
  const std::vector<uint8_t>& pool = sent_[2].message;
  EXPECT_EQ(sent_[2].submsgno, 8);
  ASSERT_EQ(pool.size(), 150u);
  EXPECT_EQ(be(pool, 12, 4), 500u);
  EXPECT_EQ(be(pool, 20, 2), 1u);
  EXPECT_EQ(be(pool, 22, 2), 8u);
  EXPECT_EQ(be(pool, 28, 2), 20u);
}

TEST(MeasurementFiguresTest, ReadFromTheDescriptionWithTheirLimits) {
  const auto f = MeasurementFigures::fromJson(nlohmann::json::parse(
      R"({"dsps": [{"max": 80, "histogram": [1, 2], "pooled": 1}],
          "cmPool": {"totalWords": 4000000000, "blocks": [{"blockSizeInWords": 8}]}})"));
  ASSERT_EQ(f.dsps.size(), 1u);
  EXPECT_EQ(f.dsps[0].max, 80);
  EXPECT_EQ(f.dsps[0].histogram[1], 2u);
  EXPECT_EQ(f.totalWords, 4000000000u);
  EXPECT_EQ(f.blocks.at(0).blockSizeInWords, 8);
  EXPECT_THROW(MeasurementFigures::fromJson(nlohmann::json::parse(R"({"dsps": [{"max": 65536}]})")),
               std::runtime_error);
  nlohmann::json blocks = nlohmann::json::array();
  for (int i = 0; i < 17; ++i) blocks.push_back(nlohmann::json::object());
  EXPECT_THROW(MeasurementFigures::fromJson({{"cmPool", {{"blocks", blocks}}}}),
               std::runtime_error);
}

}  // namespace
}  // namespace kvn::daxosim
