#include "service/measurements/echo_cmd_session.h"

#include <gtest/gtest.h>

#include "service/measurements/echo_cmd_parser.h"
#include "service/measurements/measurement_test_fixture.h"

namespace kvn::testing {
namespace {

class EchoCmdSessionTest : public MeasurementTestFixture {
 protected:
  EchoCmdParser parser;
};

TEST_F(EchoCmdSessionTest, TextArrivesInItsOwnOrderPaddedToWholeWords) {
  addMeasuredAgent(1);
  for (const std::string& text : std::vector<std::string>{"", "abc", "abcd"}) {
    command(parser, {text});
    EXPECT_EQ(ended(), "0: ");
    const FakePxm::Sent m = expectRequest(1);
    EXPECT_EQ(m.dstRoutineId, kObjectRoutine);
    EXPECT_EQ(m.submsgno, 2);
    const size_t words = (text.size() + 1) / 2;
    EXPECT_EQ(m.size, 14 + 2 * words) << text;
    EXPECT_EQ(m.be16(12), words);
    std::string padded = text;
    padded.resize(2 * words, '\0');
    EXPECT_EQ(m.text(14, 2 * words), padded);
  }
}

TEST_F(EchoCmdSessionTest, AgentsAreChosenByDomainAndRoleAndOldOnesAreNamed) {
  DaxoRecord& one = addMeasuredAgent(1, 2);
  addMeasuredAgent(2);
  addMeasuredAgent(3).roleIndex = 7;
  one.domainDaxoIndex = 2;  // MOKA/2 as agent 2 is
  command(parser, {"-d", "2", "marker"});
  EXPECT_EQ(ended(), "0: Echo is not supported in MOKA/2\n");
  EXPECT_EQ(pxm.queued(agentMailbox[1]), 0u);
  EXPECT_EQ(pxm.queued(agentMailbox[2]), 1u);
  EXPECT_EQ(command(parser, {"-r", "7", "marker"}).result, 0);
  EXPECT_EQ(pxm.queued(agentMailbox[3]), 1u);
  EXPECT_EQ(pxm.queued(agentMailbox[2]), 1u);

  const Agent withoutObjects{{}, {}, {}, false};
  addAgent(4, withoutObjects);
  addAgent(5, withoutObjects);
  EXPECT_EQ(command(parser, {"marker"}).text,
            "Object manager is not deployed for the following daxos: 4 5 \n\n");
  EXPECT_EQ(command(parser, {"a", "b"}).text, "Wrong number of arguments for echo\n");
  EXPECT_EQ(command(parser, {"-h"}).result, 0);
  // Too long for the word count: refused, nothing sent.
  EXPECT_EQ(command(parser, {std::string(EchoCmdSession::kMaxTextBytes + 1, 'x')}).text,
            "The echo text is 131071 bytes long; at most 131070 can be sent\n\n");
  EXPECT_EQ(pxm.queued(agentMailbox[3]), 1u);
}

}  // namespace
}  // namespace kvn::testing
