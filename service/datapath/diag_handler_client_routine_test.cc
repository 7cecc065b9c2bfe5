#include "service/datapath/diag_handler_client_routine.h"

#include <gtest/gtest.h>

#include "service/datapath/tn_test_fixture.h"

namespace kvn {
namespace {

class DiagHandlerClientRoutineTest : public kvn::testing::TnTestFixture {};

TEST_F(DiagHandlerClientRoutineTest, HelloIsAnsweredWithTheInstanceNameInTheExpectedByteOrder) {
  TraceControllerContext& c = TraceControllerContext::get();
  c.instanceName = "node-7";
  pxm.injectObs(diagMbox, 8, kDiagRoutine, 0, {0, 0, 0, 1});
  run();
  std::optional<Sent> reply = pxm.popSent(diagMbox);
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->submsgno, 1);
  EXPECT_EQ(reply->dstRoutineId, kDiagRoutine);
  EXPECT_EQ(reply->srcRoutineId, 8);
  EXPECT_EQ(reply->size, 20u + 6u);
  EXPECT_EQ(Bytes(reply->bytes.begin() + 12, reply->bytes.begin() + 16), (Bytes{0, 0, 0, 2}));
  EXPECT_EQ(reply->be16(16), 6);
  EXPECT_EQ(reply->text(18, 6), "node-7");
  EXPECT_EQ(c.diagHandlerMailbox, diagMbox);
  ASSERT_TRUE(c.tsiProxy);
  EXPECT_EQ(c.tsiProxy->getMailbox(), diagMbox);
  EXPECT_EQ(c.tsiProxy->getRoutineId(), 0);
}

TEST_F(DiagHandlerClientRoutineTest, TheLinkFallsWithTheMailboxAndComesBackWithTheNextHello) {
  TraceControllerContext& c = TraceControllerContext::get();
  hello();
  pxm.injectObs(diagMbox, 8, kDiagRoutine, 1);  // not ours to take: logged only
  run();
  EXPECT_TRUE(c.tsiProxy);
  EXPECT_TRUE(diagIdle());

  pxm.kill(diagMbox);
  run();
  EXPECT_FALSE(c.tsiProxy);
  EXPECT_EQ(c.diagHandlerMailbox, static_cast<uint32_t>(-1));

  diagMbox = pxm.createPeer("diag-again");
  hello();
  ASSERT_TRUE(c.tsiProxy);
  EXPECT_EQ(c.tsiProxy->getMailbox(), diagMbox);
}

}  // namespace
}  // namespace kvn
