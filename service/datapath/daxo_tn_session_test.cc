#include "service/datapath/daxo_tn_session.h"

#include <gtest/gtest.h>

#include "service/datapath/tn_test_fixture.h"

namespace kvn {
namespace {

class DaxoTnSessionTest : public kvn::testing::TnTestFixture {
 protected:
  void SetUp() override {
    TnTestFixture::SetUp();
    store().add("net1", dest);
    hello();
    slotsBefore = table.usedSlots();
  }
  // Nothing waits any more and no routine is left behind.
  void expectSettled() {
    EXPECT_TRUE(agentIdle());
    EXPECT_TRUE(diagIdle());
    EXPECT_EQ(table.usedSlots(), slotsBefore);
    EXPECT_FALSE(store().find("net1")->inUse());
  }

  std::shared_ptr<TraceDestination> dest = destination();
  size_t slotsBefore = 0;
};

TEST_F(DaxoTnSessionTest, SetsUpPortUdpSessionAndSocketThenTearsThemDownInReverse) {
  Client& c = route();
  answer(agentGets(0), 1, allocCfm());

  const Sent req = diagGets(0);
  ASSERT_EQ(req.size, 562u);
  EXPECT_EQ(req.dstRoutineId, 0);
  const uint32_t clientRef = req.be32(12);  // the session's routine id
  EXPECT_NE(clientRef, 0u);
  EXPECT_EQ(req.text(16, 21), std::string("ManagedElement=1,X=1") + '\0');
  EXPECT_EQ(req.be16(528), 4);
  EXPECT_EQ(Bytes(req.bytes.begin() + 530, req.bytes.begin() + 534), (Bytes{10, 0, 0, 1}));
  EXPECT_EQ(req.be16(546), 5000);
  EXPECT_EQ(req.be32(550), 0xA1A2A3A4u);
  EXPECT_EQ(req.be16(554), 0xB1B2);
  // The agent's MAC words were turned on receipt and are copied on as they stand.
  EXPECT_EQ(Bytes(req.bytes.begin() + 556, req.bytes.end()), (Bytes{2, 1, 4, 3, 6, 5}));
  answerTsi(req, 1, tsiCfm(0, 0x10022));
  EXPECT_EQ(dest->getActiveTsiSessions(), 1);

  const Sent config = agentGets(6);
  EXPECT_EQ(config.be16(12), 7);
  EXPECT_EQ(config.text(14, 6), "\xAA\xBB\xCC\xDD\xEE\xFF");
  EXPECT_EQ(config.be16(20), 33) << "no inner VLAN from the TSI proxy: the agent's";
  EXPECT_EQ(config.be32(22), 5000u);
  EXPECT_EQ(config.be16(26), 0x22) << "the low 16 bits of the outer VLAN";
  answer(config, 7);

  const Sent open = agentGets(9);
  EXPECT_EQ((std::vector<uint32_t>{open.be16(12), open.be16(14), open.be16(16), open.be32(18),
                                   open.be32(22), open.be16(26)}),
            (std::vector<uint32_t>{7, 1, 1, 0x5E55, 0xCE9, 3}));
  answer(open, 10, openCfm({9}, 1));
  EXPECT_EQ(c.socketId, std::optional<uint16_t>(9));
  EXPECT_FALSE(c.failure);
  EXPECT_TRUE(store().find("net1")->inUse());  // refused to `dest del`: DestCmdParserTest

  // Teardown: the delete indication, the close, and the free only once the close is answered,
  // even by a reject.
  unroute();
  EXPECT_EQ(diagGets(3).be32(12), clientRef);
  EXPECT_EQ(dest->getActiveTsiSessions(), 0);
  const Sent close = agentGets(12);
  EXPECT_EQ((std::vector<uint16_t>{close.be16(12), close.be16(14), close.be16(16)}),
            (std::vector<uint16_t>{7, 1, 9}));
  EXPECT_TRUE(agentIdle());
  answer(close, 14, cause(-3));
  const Sent free = agentGets(3);
  EXPECT_EQ(free.be16(12), 7);
  answer(free, 4);
  expectSettled();
}

TEST_F(DaxoTnSessionTest, EachFailingStepUnwindsWhatWasDoneThenReportsItsText) {
  struct Case {
    int failingStep;  // 0 alloc, 1 UDP session, 2 config, 3 open
    const char* text;
  };
  for (const Case& k : {Case{0, "Daxo port alloc failed"},
                        Case{1, "Failed to create UDP session towards TSI proxy: no room"},
                        Case{2, "Daxo port config failed"}, Case{3, "Daxo socket open failed"}}) {
    SCOPED_TRACE(k.text);
    Client& c = route();
    const Sent alloc = agentGets(0);
    if (k.failingStep == 0) {
      answer(alloc, 2, cause(5));
    } else {
      answer(alloc, 1, allocCfm());
      const Sent tsi = diagGets(0);
      if (k.failingStep == 1) {
        answerTsi(tsi, 2, tsiRej("no room", 7));
      } else {
        answerTsi(tsi, 1, tsiCfm());
        const Sent config = agentGets(6);
        if (k.failingStep == 2) {
          answer(config, 8, cause(1));
        } else {
          answer(config, 7);
          answer(agentGets(9), 11, cause(2));
        }
        EXPECT_EQ(diagGets(3).be32(12), tsi.be32(12));
      }
    }
    EXPECT_EQ(c.failure, std::optional<std::string>(k.text));
    EXPECT_FALSE(c.socketId);
    if (k.failingStep > 0) {
      EXPECT_EQ(c.agentRequestsAtFailure, 1u) << "the free goes out before the failure";
      answer(agentGets(3), 5, cause(9));  // a refused free still ends the session
    }
    EXPECT_EQ(dest->getActiveTsiSessions(), 0);
    expectSettled();
  }
}

TEST_F(DaxoTnSessionTest, AStopDuringSetUpUnwindsWhenTheStepInFlightReturns) {
  for (int step = 0; step < 4; ++step) {
    SCOPED_TRACE(step);
    Client& c = route();
    const Sent alloc = agentGets(0);
    if (step == 0) unroute();
    answer(alloc, 1, allocCfm());
    if (step > 0) {
      const Sent tsi = diagGets(0);
      if (step == 1) unroute();
      answerTsi(tsi, 1, tsiCfm());
      if (step > 1) {
        const Sent config = agentGets(6);
        if (step == 2) unroute();
        answer(config, 7);
        if (step == 3) {
          const Sent open = agentGets(9);
          unroute();
          answer(open, 10, openCfm({9}, 1));
          answer(agentGets(12), 13);
        }
      }
      EXPECT_EQ(diagGets(3).be32(12), tsi.be32(12));
    }
    answer(agentGets(3), 4);
    EXPECT_FALSE(c.socketId);
    EXPECT_FALSE(c.failure);
    EXPECT_EQ(dest->getActiveTsiSessions(), 0);
    expectSettled();
  }
}

TEST_F(DaxoTnSessionTest, TwoSourcesOfOneAgentShareOneSessionUntilTheLastGoes) {
  ready(4);
  Client& second = route("net1", 1);
  EXPECT_EQ(second.socketId, std::optional<uint16_t>(9));
  EXPECT_TRUE(agentIdle());
  EXPECT_TRUE(diagIdle());
  EXPECT_EQ(dest->getActiveTsiSessions(), 1);

  unroute(4);
  EXPECT_TRUE(agentIdle());
  unroute(1);
  diagGets(3);
  answer(agentGets(12), 13);
  answer(agentGets(3), 4);
  expectSettled();
  EXPECT_EQ(route("nosuch").failure, std::optional<std::string>("Destination name not found"));
}

TEST_F(DaxoTnSessionTest, ALostAgentEndsTheSessionSilentlyAtAnyStep) {
  // Lost while the TSI proxy is asked: a late confirm reaches no one.
  Client& c = route();
  answer(agentGets(0), 1, allocCfm());
  const Sent tsi = diagGets(0);
  DaxoRecord& r = DaxoTraceModel::get(kAgent);
  r.connected = false;
  table.sendEvent(r.lostEvent->getId());
  run();
  answerTsi(tsi, 1, tsiCfm());
  EXPECT_FALSE(c.socketId);
  EXPECT_FALSE(c.failure);
  EXPECT_TRUE(agentIdle());
  EXPECT_EQ(table.usedSlots(), slotsBefore);

  // Lost during the teardown: the session still goes, and deletes its UDP session only once.
  r.connected = true;
  r.lostEvent = std::make_shared<kvntrace::Event>();
  r.traceDest.proxy =
      std::make_shared<TraceDestProxy>(&table, agentMbox, kDestRoutine, r.lostEvent->getId());
  store().stopSession(kAgent, 4);  // the store of this test has no monitor to forget the agent
  const uint16_t before = dest->getActiveTsiSessions();
  ready();
  unroute();
  diagGets(3);
  agentGets(12);
  table.sendEvent(r.lostEvent->getId());
  run();
  EXPECT_EQ(dest->getActiveTsiSessions(), before);
  EXPECT_EQ(table.usedSlots(), slotsBefore);
}

TEST_F(DaxoTnSessionTest, AnswersThatPromiseMoreThanTheyHoldAreReadWithinTheMessage) {
  // A reject whose reason runs past the message: what it holds.
  Client& a = route();
  answer(agentGets(0), 1, allocCfm());
  answerTsi(diagGets(0), 2, tsiRej("full", 200));
  EXPECT_EQ(a.failure,
            std::optional<std::string>("Failed to create UDP session towards TSI proxy: full"));
  answer(agentGets(3), 4);

  // A short UDP confirm (no VLANs: the agent's is used) and an open confirm that holds one of
  // its three socket ids.
  Client& b = route();
  answer(agentGets(0), 1, allocCfm());
  Bytes shortCfm = tsiCfm();
  shortCfm.resize(16);
  answerTsi(diagGets(0), 1, shortCfm);
  const Sent config = agentGets(6);
  EXPECT_EQ(config.be16(20), 33);
  answer(config, 7);
  answer(agentGets(9), 10, openCfm({12}, 3));
  EXPECT_EQ(b.socketId, std::optional<uint16_t>(12));
  unroute();
  diagGets(3);
  answer(agentGets(12), 13);
  answer(agentGets(3), 4);

  // An open confirm without any socket id fails the step.
  Client& c = route();
  answer(agentGets(0), 1, allocCfm());
  answerTsi(diagGets(0), 1, tsiCfm(44));
  const Sent config2 = agentGets(6);
  EXPECT_EQ(config2.be16(20), 44) << "the TSI proxy's inner VLAN";
  answer(config2, 7);
  answer(agentGets(9), 10, openCfm({}, 2));
  EXPECT_EQ(c.failure, std::optional<std::string>("Daxo socket open failed"));
  diagGets(3);
  answer(agentGets(3), 4);
  expectSettled();
}

TEST_F(DaxoTnSessionTest, DeletingCountsOnlyConfirmedSessions) {
  dest->deleteTsiSession(1);  // none active: nothing is sent
  EXPECT_TRUE(diagIdle());
  ready();
  EXPECT_EQ(dest->getActiveTsiSessions(), 1);
  pxm.kill(diagMbox);
  run();
  dest->deleteTsiSession(1);  // no diag handler: the count still goes down
  EXPECT_EQ(dest->getActiveTsiSessions(), 0);
}

}  // namespace
}  // namespace kvn
