#include "daxo-sim/forwarder_handler.h"

#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace kvn::daxosim {
namespace {

class ForwarderHandlerTest : public ::testing::Test {
 protected:
  ForwarderHandlerTest() {
    description.attributes = {{20, 0, {8, 0, 0}}, {20, 3, {2, 4, 0}}};  // rtt to embuf
  }

  // Sends a request and gives the answer's sub-message number.
  uint16_t send(ForwarderHandler& h, uint16_t submsgno, uint16_t linkIndex, uint16_t socket) {
    std::vector<uint8_t> body = {0, static_cast<uint8_t>(linkIndex), 0,
                                 static_cast<uint8_t>(socket)};
    AgentHandler::Request r;
    r.dstRoutineId = 20;
    r.srcRoutineId = 900;
    r.submsgno = submsgno;
    r.body = body.data();
    r.bodySize = body.size();
    entry = nlohmann::json();
    uint16_t answer = 0xFFFF;
    ReplyPath reply([&](std::vector<uint8_t> m, uint32_t) { answer = m[9]; }, 1, 900, 20);
    h.handle(r, reply, entry);
    return answer;
  }

  AgentDescription description;
  nlohmann::json entry;
};

TEST_F(ForwarderHandlerTest, KeepsWhatIsAttachedWhere) {
  ForwarderHandler h(description, ForwarderHandler::Reject::kNone);
  EXPECT_EQ(send(h, 0, 0, 5), 0);
  EXPECT_EQ(send(h, 0, 1, 5), 0);
  EXPECT_EQ(h.attached().size(), 2u);
  EXPECT_EQ(
      entry["attached"][1],
      (nlohmann::json{
          {"routine", 20}, {"source", 2}, {"destination", 4}, {"linkIndex", 1}, {"socket", 5}}));
  EXPECT_EQ(send(h, 1, 0, 7), 2);  // detach, with whatever socket
  EXPECT_EQ(h.attached().size(), 1u);
}

TEST_F(ForwarderHandlerTest, RejectsTheKindItIsToldTo) {
  ForwarderHandler attach(description, ForwarderHandler::Reject::kAttach);
  EXPECT_EQ(send(attach, 0, 0, 0), 1);
  EXPECT_TRUE(attach.attached().empty());
  EXPECT_EQ(send(attach, 1, 0, 0), 2);
  ForwarderHandler detach(description, ForwarderHandler::Reject::kDetach);
  EXPECT_EQ(send(detach, 0, 0, 0), 0);
  EXPECT_EQ(send(detach, 1, 0, 0), 3);
  EXPECT_EQ(detach.attached().size(), 1u);
}

}  // namespace
}  // namespace kvn::daxosim
