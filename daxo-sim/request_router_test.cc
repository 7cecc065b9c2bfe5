#include "daxo-sim/request_router.h"

#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <fstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "daxo-sim/journal_only_handler.h"

namespace kvn::daxosim {
namespace {

using json = nlohmann::json;

// Answers every request with its own body, under the next sub-message number.
class EchoHandler : public AgentHandler {
 public:
  void handle(const Request& r, const ReplyPath& reply, json& entry) override {
    entry["echoed"] = true;
    reply.send(r.submsgno + 1, std::vector<uint8_t>(r.body, r.body + r.bodySize));
  }
};

class ThrowingHandler : public AgentHandler {
 public:
  void handle(const Request&, const ReplyPath&, json&) override {
    throw std::runtime_error("body too short");
  }
};

std::vector<uint8_t> message(uint16_t dst, uint16_t src, uint16_t sub, std::vector<uint8_t> body) {
  std::vector<uint8_t> m = {0x2D,
                            0x80,
                            0x70,
                            0x01,
                            uint8_t(dst >> 8),
                            uint8_t(dst),
                            uint8_t(src >> 8),
                            uint8_t(src),
                            uint8_t(sub >> 8),
                            uint8_t(sub),
                            0,
                            0};
  for (uint8_t b : body) m.push_back(b);
  return m;
}

class RequestRouterTest : public ::testing::Test {
 protected:
  static std::string tempPath() {
    char tmpl[] = "/tmp/daxo-journal-XXXXXX";
    close(mkstemp(tmpl));
    return tmpl;
  }
  void SetUp() override {
    handlers_.add(13, std::make_unique<EchoHandler>());
    handlers_.add(10, std::make_unique<ThrowingHandler>());
    handlers_.deploy(40, 14);
    handlers_.deploy(41, 13);
    handlers_.deploy(42, 10);
  }
  void TearDown() override { unlink(path_.c_str()); }

  std::vector<json> lines() {
    std::vector<json> out;
    std::ifstream in(path_);
    for (std::string line; std::getline(in, line);) out.push_back(json::parse(line));
    return out;
  }

  std::string path_ = tempPath();
  sim::Journal journal_{path_};
  HandlerRegistry handlers_{std::make_unique<JournalOnlyHandler>()};
  std::vector<std::pair<std::vector<uint8_t>, uint32_t>> sent_;
  RequestRouter router_{handlers_, journal_, [this](std::vector<uint8_t> m, uint32_t to) {
                          sent_.push_back({m, to});
                        }};
};

TEST_F(RequestRouterTest, JournalsEveryMessageWithItsNameAndBody) {
  auto setMask = message(40, 1199, 0, {0xAB, 0x01});
  router_.route(77, setMask.data(), setMask.size());
  auto unknown = message(999, 3, 9, {});
  router_.route(78, unknown.data(), unknown.size());
  const uint8_t tiny[] = {1, 2, 3};
  router_.route(79, tiny, sizeof tiny);

  std::vector<json> l = lines();
  ASSERT_EQ(l.size(), 3u);
  EXPECT_EQ(l[0]["name"], "KVN_TRACEOBJECT_SETMASK_REQ");
  EXPECT_EQ(l[0]["from"], 77);
  EXPECT_EQ(l[0]["dst"], 40);
  EXPECT_EQ(l[0]["src"], 1199);
  EXPECT_EQ(l[0]["submsgno"], 0);
  EXPECT_EQ(l[0]["implements"], 14);
  EXPECT_EQ(l[0]["body"], "ab01");
  EXPECT_EQ(l[0]["answered"], false);
  EXPECT_FALSE(l[1].contains("name"));
  EXPECT_EQ(l[1]["implements"], 65535);
  EXPECT_EQ(l[2]["body"], "010203");
  EXPECT_TRUE(l[2].contains("error"));
  EXPECT_TRUE(sent_.empty());
}

TEST_F(RequestRouterTest, HandlerOfTheRoutinesCodeAnswersTheSendingRoutine) {
  auto req = message(41, 1150, 2, {9, 8, 7});
  router_.route(55, req.data(), req.size());
  ASSERT_EQ(sent_.size(), 1u);
  EXPECT_EQ(sent_[0].second, 55u);
  EXPECT_EQ(sent_[0].first, message(1150, 41, 3, {9, 8, 7}));
  std::vector<json> l = lines();
  ASSERT_EQ(l.size(), 1u);
  EXPECT_EQ(l[0]["name"], "KVN_TRACE_HIT_COUNTER_DATA_REQ");
  EXPECT_EQ(l[0]["echoed"], true);

  // The last deployment of a routine decides its handler.
  handlers_.deploy(41, 14);
  router_.route(55, req.data(), req.size());
  EXPECT_EQ(sent_.size(), 1u);
}

TEST_F(RequestRouterTest, HandlerFailureIsJournalledAndNotFatal) {
  auto req = message(42, 1, 0, {});
  router_.route(5, req.data(), req.size());
  std::vector<json> l = lines();
  ASSERT_EQ(l.size(), 1u);
  EXPECT_EQ(l[0]["name"], "KVN_RTT_SET_REGISTER_REQ");
  EXPECT_EQ(l[0]["error"], "body too short");
}

}  // namespace
}  // namespace kvn::daxosim
