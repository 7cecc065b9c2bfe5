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
  const Sent reply = diagGets(1);
  EXPECT_EQ(reply.dstRoutineId, kDiagRoutine);
  EXPECT_EQ(reply.srcRoutineId, 8);
  ASSERT_EQ(reply.size, 20u + 6u);
  EXPECT_EQ(Bytes(reply.bytes.begin() + 12, reply.bytes.begin() + 16), (Bytes{0, 0, 0, 2}));
  EXPECT_EQ(reply.be16(16), 6);
  EXPECT_EQ(reply.text(18, 6), "node-7");
  EXPECT_EQ(c.diagHandlerMailbox, diagMbox);
  ASSERT_TRUE(c.tsiProxy);
  EXPECT_EQ(c.tsiProxy->getMailbox(), diagMbox);
  EXPECT_EQ(c.tsiProxy->getRoutineId(), 0);
}

}  // namespace
}  // namespace kvn
