// The SuperTrace controller, its runs and the start and stop actions, with agents that connect
// on the in-process mailbox and whose requests the test reads and answers by hand.

#include "service/datapath/super_trace.h"

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "service/datapath/recorder_test_fixture.h"
#include "service/datapath/super_trace_start.h"
#include "service/datapath/super_trace_stop.h"
#include "service/datapath/super_trace_streaming.h"
#include "util/mainloop/event_callback_routine.h"

namespace kvn {
namespace {

// Sub-message numbers of the SuperTrace signals.
enum : uint16_t { kConsumerStart = 0, kConsumerStop = 1, kProducerStart = 3, kProducerStop = 4 };
enum : uint16_t { kProducerStopCfm = 5, kSetUp = 6, kFull = 8, kEmpty = 9 };

// Agents 1 and 2, connected in every test.
class SuperTraceTest : public kvn::testing::RecorderTestFixture {
 protected:
  using V = std::vector<uint16_t>;

  SuperTraceTest() {
    for (uint16_t n : {1, 2}) peer[n] = connectDaxo(n);
  }

  // Starts `a`, the agents' lost events forwarded to it; `ended` tells how it ended, its text
  // marked when it failed, and stays empty while it runs.
  void run(const V& agents, std::shared_ptr<SuperTraceAction> a) {
    dropAction();
    ended.clear();
    action = std::move(a);
    lostForwarder = std::make_shared<EventCallbackRoutine>();
    table.allocate(lostForwarder);
    for (uint16_t n : agents)
      lostForwarder->addEventCallback(DaxoTraceModel::getDaxoLostEvent(n),
                                      [this, n](kvntrace::EventId) { action->onAgentLost(n); });
    action->start();
    pxm.runUntilIdle(loop);
  }
  SuperTraceAction::Done done() {
    return
        [this](bool failed, const std::string& text) { ended = (failed ? "failed: " : "") + text; };
  }
  void startRun(const V& agents, uint32_t mode) {
    run(agents, std::make_shared<SuperTraceStart>(superTrace, agents, mode, done()));
  }
  void stopRun(const V& agents) { run(agents, std::make_shared<SuperTraceStop>(agents, done())); }

  void dropAction() {
    action.reset();
    if (lostForwarder) table.free(static_cast<uint16_t>(lostForwarder->getRoutineId()));
    lostForwarder.reset();
  }

  // What reached the agent, kept until the test looks at it.
  void drain(uint16_t n) {
    while (auto m = pxm.popSent(peer[n])) {
      last[n][m->submsgno] = *m;
      inbox[n].push_back(m->submsgno);
    }
  }
  // The sub-message numbers the agent has been sent since the last look.
  V sent(uint16_t n) {
    drain(n);
    return std::exchange(inbox[n], {});
  }

  // The agent answers the last request of number `req` it was sent; an answered request is no
  // longer news.
  void confirm(uint16_t n, uint16_t req) {
    drain(n);
    auto seen = std::find(inbox[n].begin(), inbox[n].end(), req);
    if (seen != inbox[n].end()) inbox[n].erase(seen);
    const Sent& m = last[n].at(req);
    pxm.injectObs(peer[n], m.srcRoutineId, m.dstRoutineId, req + 1);
    pxm.runUntilIdle(loop);
  }
  void indicate(uint16_t n, uint16_t submsgno, uint16_t from = kControlRoutine) {
    pxm.injectObs(peer[n], 3, from, submsgno);
    pxm.runUntilIdle(loop);
  }

  // Starts a run, its set-up confirmed, and clears what the agents were sent.
  void started(uint32_t mode, const V& agents = {1, 2}) {
    startRun(agents, mode);
    for (uint16_t n : agents) confirm(n, kSetUp);
    for (uint16_t n : agents) sent(n);
  }

  // Both agents were sent `want` since the last look.
  void bothSent(const V& want) {
    EXPECT_EQ(sent(1), want);
    EXPECT_EQ(sent(2), want);
  }
  void confirmBoth(uint16_t req) {
    confirm(1, req);
    confirm(2, req);
  }
  const SuperTraceStreaming& streaming(uint16_t n) {
    return dynamic_cast<const SuperTraceStreaming&>(*DaxoTraceModel::get(n).embuf.superTraceAction);
  }

  pxm_mbox_id_t peer[6] = {};
  std::map<uint16_t, Sent> last[6];
  std::vector<uint16_t> inbox[6];
  std::shared_ptr<SuperTraceAction> action;
  std::shared_ptr<EventCallbackRoutine> lostForwarder;
  std::string ended;
};

TEST_F(SuperTraceTest, SourceMaskAndStreamingComeFromTheForwarderTable) {
  DaxoRecord r;
  EXPECT_EQ(SuperTrace::sourceMask(r), 0);
  r.links[1][4].attached = true;
  EXPECT_EQ(SuperTrace::sourceMask(r), 0x0001);
  r.links[2][4].attached = r.links[3][4].attached = true;
  EXPECT_EQ(SuperTrace::sourceMask(r), 0x001F);
  r.links[1][4].attached = false;
  r.links[2][7].attached = true;  // rtt elsewhere counts for nothing
  EXPECT_EQ(SuperTrace::sourceMask(r), 0x001E);
  EXPECT_FALSE(SuperTrace::isStreaming(r));
  r.links[4][6].attached = true;
  EXPECT_TRUE(SuperTrace::isStreaming(r));
}

TEST_F(SuperTraceTest, ARecordingStartsAndStopsOverItsGroup) {
  EXPECT_EQ(superTrace.watchedAgents().size(), 2u);
  const size_t idle = table.usedSlots();

  startRun({1, 2}, kSuperTraceRecording);
  bothSent(V{kSetUp});
  EXPECT_EQ(last[1][kSetUp].dstRoutineId, kBufferRoutine);
  EXPECT_EQ(last[1][kSetUp].be16(12), 3);
  EXPECT_TRUE(DaxoTraceModel::get(1).embuf.setupPending);
  confirm(2, kSetUp);
  EXPECT_EQ(ended, "");
  confirm(1, kSetUp);
  EXPECT_EQ(ended, "Started streaming or recording on daxos.\n");
  bothSent(V{kProducerStart});  // no consumer in a recording
  EXPECT_EQ(last[1][kProducerStart].dstRoutineId, kControlRoutine);
  EXPECT_EQ(last[1][kProducerStart].be16(12), 0x001E);
  EXPECT_EQ(DaxoTraceModel::get(1).embuf.superTraceAction,
            DaxoTraceModel::get(2).embuf.superTraceAction);
  EXPECT_FALSE(DaxoTraceModel::get(1).embuf.setupPending);

  startRun({2}, kSuperTraceRecording);
  EXPECT_EQ(ended, "failed: Already recording or streaming on daxo 2.\n");

  // A stop through one member stops the whole group.
  stopRun({2});
  bothSent(V{kProducerStop});
  EXPECT_EQ(last[1][kProducerStop].be16(12), 0x001E);
  stopRun({1});
  EXPECT_EQ(ended, "failed: Already stopping streaming or recording on daxo 1.\n");
  // The first stop's action is gone: the end of the stop must not reach it.
  confirmBoth(kProducerStop);
  EXPECT_EQ(ended, "failed: Already stopping streaming or recording on daxo 1.\n");
  EXPECT_FALSE(DaxoTraceModel::get(1).embuf.superTraceAction->isActive());
  stopRun({2});
  EXPECT_EQ(ended, "failed: No active streaming or recording on daxo 2.\n");
  dropAction();
  EXPECT_EQ(table.usedSlots(), idle);

  // A stop waits for every agent's confirm.
  started(kSuperTraceRecording);
  stopRun({1, 2});
  bothSent(V{kProducerStop});
  confirm(1, kProducerStop);
  EXPECT_EQ(ended, "");
  confirm(2, kProducerStop);
  EXPECT_EQ(ended, "Stopped recording on daxos.\n");

  // Only agents started together stop together.
  for (uint16_t n : {1, 2}) started(kSuperTraceRecording, {n});
  stopRun({1, 2});
  EXPECT_EQ(ended, "failed: Can only stop recordings on daxos which were started together.\n");
  EXPECT_EQ(sent(1), V{});  // nothing was stopped
}

// Every row of the streaming table, in the order a stream meets them.
TEST_F(SuperTraceTest, AStreamStopsItsProducersWhileTheBuffersDrain) {
  startRun({1, 2}, kSuperTraceStreaming);
  confirmBoth(kSetUp);
  bothSent(V{kProducerStart, kConsumerStart});
  EXPECT_EQ(streaming(1).state(), SuperTraceStreaming::kRunning);
  EXPECT_FALSE(DaxoTraceModel::get(1).embuf.superTraceAction->start());  // not from running

  indicate(1, kEmpty);  // while running: nothing to do
  indicate(2, kFull);
  bothSent(V{kProducerStop});
  EXPECT_EQ(streaming(1).state(), SuperTraceStreaming::kStoppingProducers);
  indicate(1, kFull);  // a second full while stopping: no second stop
  EXPECT_EQ(sent(1), V{});

  indicate(1, kEmpty);  // before its producer's confirm: not counted
  confirm(1, kProducerStop);
  indicate(2, kEmpty);  // likewise
  confirm(2, kProducerStop);
  EXPECT_EQ(streaming(1).state(), SuperTraceStreaming::kDraining);
  indicate(1, kEmpty);
  EXPECT_EQ(sent(1), V{});
  indicate(2, kEmpty);  // the last buffer drained: producers again
  bothSent(V{kProducerStart});
  EXPECT_EQ(streaming(1).state(), SuperTraceStreaming::kRunning);

  // A stop from running: the producers stop, the buffers drain, then the consumers stop.
  stopRun({1});
  bothSent(V{kProducerStop});
  EXPECT_TRUE(DaxoTraceModel::get(1).embuf.superTraceAction->isStopping());
  EXPECT_FALSE(DaxoTraceModel::get(1).embuf.superTraceAction->stop([] {}));  // one stop only
  confirm(1, kProducerStop);
  indicate(1, kEmpty);  // after its own confirm, while the other still stops: counted
  confirm(2, kProducerStop);
  indicate(2, kEmpty);
  bothSent(V{kConsumerStop});
  EXPECT_EQ(streaming(1).state(), SuperTraceStreaming::kStoppingConsumers);
  confirm(1, kConsumerStop);
  EXPECT_EQ(ended, "");
  confirm(2, kConsumerStop);
  EXPECT_EQ(ended, "Stopped recording on daxos.\n");
  EXPECT_EQ(streaming(1).state(), SuperTraceStreaming::kIdle);
  EXPECT_FALSE(streaming(1).isStopping());
}

TEST_F(SuperTraceTest, AStopDuringADrainEndsTheStreamWithoutRestartingProducers) {
  started(kSuperTraceStreaming);
  indicate(1, kFull);
  bothSent(V{kProducerStop});
  stopRun({1, 2});  // the drain under way ends in the stop
  EXPECT_EQ(sent(1), V{});
  confirmBoth(kProducerStop);
  indicate(1, kEmpty);
  indicate(2, kEmpty);
  bothSent(V{kConsumerStop});
  EXPECT_EQ(ended, "");
  confirmBoth(kConsumerStop);
  EXPECT_EQ(ended, "Stopped recording on daxos.\n");
}

// The agent lost last in the drain was the one the others waited for: they go on without it,
// and everything that waited on it goes with it.
TEST_F(SuperTraceTest, AnAgentLostWhileDrainingLetsTheOthersGoOn) {
  const size_t before = table.usedSlots();
  started(kSuperTraceStreaming);
  indicate(1, kFull);
  confirm(2, kProducerStop);
  confirm(1, kProducerStop);
  indicate(2, kEmpty);
  ASSERT_EQ(streaming(2).state(), SuperTraceStreaming::kDraining);
  stopRun({2});  // waits for the drain; agent 1 is not its agent
  disconnect(peer[1]);
  EXPECT_EQ(superTrace.watchedAgents().count(1), 0u);
  EXPECT_EQ(sent(2), V{kConsumerStop});
  EXPECT_EQ(streaming(2).group().size(), 1u);
  confirm(2, kConsumerStop);
  EXPECT_EQ(ended, "Stopped recording on daxos.\n");
  dropAction();
  EXPECT_EQ(table.usedSlots(), before);
}

TEST_F(SuperTraceTest, AnAgentLostEndsTheActionsThatWaitOnIt) {
  startRun({1, 2}, kSuperTraceRecording);
  confirm(2, kSetUp);
  disconnect(peer[1]);
  EXPECT_EQ(ended, "failed: Action failed due to loss of daxo 1.\n");
  // The agent still there may start again; nothing runs on it.
  EXPECT_FALSE(DaxoTraceModel::get(2).embuf.setupPending);
  EXPECT_FALSE(DaxoTraceModel::get(2).embuf.superTraceAction->isActive());

  started(kSuperTraceRecording, {2});
  stopRun({2});
  disconnect(peer[2]);
  EXPECT_EQ(ended, "failed: Action failed due to loss of daxo 2.\n");
}

TEST_F(SuperTraceTest, IndicationsFromStrangersAndStrayAnswersAreDropped) {
  started(kSuperTraceStreaming, {1});
  LogCapture cap;
  indicate(1, kFull, kBufferRoutine);  // the agent, but not its SuperTrace routine
  const pxm_mbox_id_t stranger = pxm.createPeer("stranger");
  pxm.injectObs(stranger, 3, kControlRoutine, kFull);
  pxm.runUntilIdle(loop);
  EXPECT_EQ(cap.count(Level::Error, "Received message from disconnected or unregistered DAXO"), 2);
  indicate(1, kProducerStopCfm);  // a confirm with no request behind it
  EXPECT_TRUE(cap.has(Level::Error, "Unhandled signal with submsgno 5"));
  EXPECT_EQ(sent(1), V{});
  EXPECT_EQ(streaming(1).state(), SuperTraceStreaming::kRunning);
  EXPECT_EQ(pxm.leakedMessages(), 0u);
}

}  // namespace
}  // namespace kvn
