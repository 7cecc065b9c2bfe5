#include "diag-sim/diag_message.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "diag-sim/tsi_answer.h"

namespace kvn::diagsim {
namespace {

TEST(DiagMessageTest, ReadsTheServicesMessagesWithinTheirBodies) {
  std::vector<uint8_t> reply = {0, 0, 0, 2, 0, 3, 'a', 'b', 'c', 0, 0};
  nlohmann::json e;
  DiagMessage::readHelloReply(reply.data(), reply.size(), e);
  EXPECT_EQ(e["word"], 2);
  EXPECT_EQ(e["instanceName"], "abc");
  reply[5] = 9;  // a name that runs past the message
  nlohmann::json bad;
  DiagMessage::readHelloReply(reply.data(), reply.size(), bad);
  EXPECT_FALSE(bad.contains("instanceName"));

  std::vector<uint8_t> req(550, 0);
  req[3] = 42;
  memcpy(&req[4], "ManagedElement=1", 16);
  req[517] = 4;  // family
  req[518] = 127, req[521] = 1;
  req[534] = 0x13, req[535] = 0x88;  // port 5000
  req[544] = 0xA0, req[549] = 0xA5;
  nlohmann::json r;
  DiagMessage::readCreateRequest(req.data(), req.size(), r);
  EXPECT_EQ(r["clientRef"], 42);
  EXPECT_EQ(r["ldn"], "ManagedElement=1");
  EXPECT_EQ(r["ip"], "127.0.0.1");
  EXPECT_EQ(r["udpPortNr"], 5000);
  EXPECT_EQ(r["sourceMac"], "a0:00:00:00:00:a5");
  nlohmann::json shortReq;
  DiagMessage::readCreateRequest(req.data(), 549, shortReq);
  EXPECT_TRUE(shortReq.contains("error"));
}

TEST(DiagMessageTest, AnswersCarryTheirFieldsBigEndian) {
  TsiAnswer a = TsiAnswer::fromJson(nlohmann::json::parse(
      R"({"sessionId": 258, "pcep": 3, "qidx": 4, "mac": "0a:0b:0c:0d:0e:0f",
          "innerVlan": 5, "outerVlan": 6})"));
  EXPECT_EQ(a.confirmBody(), (std::vector<uint8_t>{0,  0,  1,  2,  0, 0, 0, 3, 0, 4, 10, 11,
                                                   12, 13, 14, 15, 0, 0, 0, 5, 0, 0, 0,  6}));
  a.reject = "no";
  EXPECT_EQ(a.rejectBody(), (std::vector<uint8_t>{0, 2, 'n', 'o'}));
  EXPECT_THROW(TsiAnswer::fromJson(nlohmann::json::parse(R"({"mac": "0a:0b"})")), TsiAnswer::Error);
  const std::vector<uint8_t> hello = DiagMessage::encode(8, 20, 0, DiagMessage::helloBody(1));
  EXPECT_EQ(std::vector<uint8_t>(hello.begin() + 4, hello.end()),
            (std::vector<uint8_t>{0, 8, 0, 20, 0, 0, 0, 0, 0, 0, 0, 1}));
}

}  // namespace
}  // namespace kvn::diagsim
