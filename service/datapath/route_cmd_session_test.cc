// The route command: what the parser makes of a line, and the session's road over the agent's
// forwarder links, its transport session and its stream, with one agent whose requests the test
// reads and answers by hand.

#include "service/datapath/route_cmd_session.h"

#include <deque>

#include <gtest/gtest.h>

#include "service/agents/daxo_match_error.h"
#include "service/datapath/route_cmd_parser.h"
#include "service/datapath/route_tn_cmd_session.h"
#include "service/datapath/super_trace.h"
#include "service/datapath/super_trace_idle_run.h"
#include "service/datapath/tn_test_fixture.h"
#include "util/cmd/output_cmd_session.h"

namespace kvn {
namespace {

constexpr uint16_t kControl = 10, kBuffer = 11;
constexpr uint16_t kRttEbcom = 60, kRttEmbuf = 61, kEmbufTn = 62, kEmbufEbcom = 63;
// Sub-message numbers: forwarder, SuperTrace control and buffer.
enum : uint16_t { kAttach = 0, kDetach = 1, kAttachCfm = 0, kAttachRej = 1, kDetachCfm = 2 };
constexpr uint16_t kSetUp = 6;

class RouteTest : public kvn::testing::TnTestFixture {
 protected:
  void SetUp() override {
    TnTestFixture::SetUp();
    DaxoRecord& r = DaxoTraceModel::get(kAgent);
    const kvntrace::EventId lost = r.lostEvent->getId();
    link(2, 7, kRttEbcom, 1);
    link(2, 4, kRttEmbuf, 1);
    link(4, 6, kEmbufTn, 2);
    link(4, 7, kEmbufEbcom, 1);
    r.embuf.superTraceRoutine = kControl;
    r.embuf.bufferRoutine = kBuffer;
    r.embuf.superTraceControlProxy =
        std::make_shared<SuperTraceControlProxy>(&table, agentMbox, kControl, lost);
    r.embuf.superTraceBufferProxy =
        std::make_shared<SuperTraceBufferProxy>(&table, agentMbox, kBuffer, lost);
    r.embuf.superTraceAction = std::make_shared<SuperTraceIdleRun>();
    TraceControllerContext::get().superTrace = &superTrace;
    table.sendEvent(connectEvent->getId());  // the controller watches the agent
    store().add("net1", destination());
    hello();
    slotsBefore = table.usedSlots();
  }
  void TearDown() override {
    TraceControllerContext::get().superTrace = nullptr;
    TnTestFixture::TearDown();
  }

  void link(uint16_t s, uint16_t d, uint16_t routine, uint16_t count) {
    DaxoRecord& r = DaxoTraceModel::get(kAgent);
    ForwarderLink& l = r.links[s][d];
    l.deployed = true;
    l.id = routine;
    l.linkCount = count;
    l.connectionProxy_p = std::make_shared<TraceLinkConnectionProxy>(&table, agentMbox, routine,
                                                                     r.lostEvent->getId());
  }
  ForwarderLink& cell(uint16_t s, uint16_t d) { return DaxoTraceModel::get(kAgent).links[s][d]; }

  std::shared_ptr<CmdSession> parse(const std::vector<std::string>& w) { return parser.parse(w); }
  // The text answer a line is refused with at parse time.
  std::string refusal(const std::vector<std::string>& words) {
    auto out = std::dynamic_pointer_cast<OutputCmdSession>(parse(words));
    if (!out) return "(a session)";
    EXPECT_EQ(out->getResult(), 1);
    return out->getText();
  }

  using TnTestFixture::answer;  // the agent answers a request

  Answer command(const std::vector<std::string>& words) {
    answer_ = {};
    launch(parse(words));
    return answer();
  }
  // What the front end got so far. It plays its part: confirms each text and lets the command
  // go once it has ended, so that only the command's own routines are left to count.
  Answer answer() {
    while (auto m = pxm.popSent(peer)) {
      if (m->submsgno == 5) life = m->srcRoutineId;
      if (m->submsgno == 8) {
        answer_.text += m->text(18, m->be16(16));
        pxm.injectObs(peer, m->srcRoutineId, kFrontEndRoutine, 9, {0, 0});
      }
      if (m->submsgno == 7) {
        answer_.result = m->u8(12);
        if (table.get(life)) pxm.injectObs(peer, life, kFrontEndRoutine, 4);
      }
      run();
    }
    return answer_;
  }
  // How the command ended: its result and its text; "running" and the text while it runs.
  std::string ended() {
    const Answer a = answer();
    return (a.result ? std::to_string(*a.result) : std::string("running")) + ": " + a.text;
  }

  // The first request not yet taken that went to `routine`; fails the test when there is none.
  Sent take(uint16_t routine, uint16_t submsgno) {
    while (auto m = pxm.popSent(agentMbox)) held.push_back(*m);
    for (auto it = held.begin(); it != held.end(); ++it) {
      if (it->dstRoutineId != routine) continue;
      const Sent m = *it;
      held.erase(it);
      EXPECT_EQ(m.submsgno, submsgno) << "to routine " << routine;
      return m;
    }
    ADD_FAILURE() << "nothing reached routine " << routine;
    return Sent();
  }

  RouteCmdParser parser;
  std::shared_ptr<kvntrace::Event> connectEvent = std::make_shared<kvntrace::Event>();
  SuperTrace superTrace{connectEvent->getId(), &table, 3};
  std::deque<Sent> held;
  uint16_t life = 0;
  size_t slotsBefore = 0;
};

TEST_F(RouteTest, ParserAnswers) {
  auto session = [&](const std::vector<std::string>& w) {
    return std::dynamic_pointer_cast<RouteCmdSession>(parse(w));
  };
  ASSERT_TRUE(session({"1:rtt", "ebcom"}));
  EXPECT_EQ(session({"1:rtt", "ebcom"})->getDestSocket(), 0u);
  EXPECT_EQ(session({"DAXO1:rtt", "ebcom:0x10"})->getDestSocket(), 16u);
  EXPECT_EQ(refusal({"1:rtt", "ebcom:"}), "Invalid destination socket\n");
  EXPECT_EQ(refusal({"1:rtt", "ebcom:-1"}), "Invalid destination socket\n");
  EXPECT_EQ(refusal({"1", "ebcom:0"}), "Missing separator in argument\n");
  EXPECT_EQ(refusal({"1:nonsense", "ebcom:0"}), "Invalid key\n");
  EXPECT_EQ(refusal({"1:rtt"}).rfind("Wrong number of arguments\n\nInfo:\n", 0), 0u);
  EXPECT_THROW(parse({"7:rtt", "ebcom"}), DaxoMatchError);

  // A destination's name hides the fixed word, on either side.
  store().add("rtt", destination());
  auto tn = std::dynamic_pointer_cast<RouteTnCmdSession>(parse({"1:embuf", "rtt"}));
  ASSERT_TRUE(tn);
  EXPECT_EQ(tn->getDestName(), "rtt");
  EXPECT_EQ(tn->getDest(), 6u);
  EXPECT_EQ(session({"1:rtt", "ebcom"})->getSource(), 6u);

  DaxoTraceModel::get(kAgent).traceDest.proxy.reset();
  EXPECT_EQ(refusal({"1:embuf", "net1"}), "Daxo does not support TN destinations\n");
}

TEST_F(RouteTest, DetachesEveryLinkWithTheNewSocketThenAttaches) {
  cell(2, 7).attached = true;
  command({"1:rtt", "embuf:5"});
  EXPECT_FALSE(cell(2, 7).attached) << "cleared before the agent agrees";
  const Sent detach = take(kRttEbcom, kDetach);
  EXPECT_EQ(detach.be16(12), 0);  // link index
  EXPECT_EQ(detach.be16(14), 5);  // the new route's socket
  EXPECT_TRUE(held.empty() && pxm.queued(agentMbox) == 0) << "nothing before the confirm";
  answer(detach, kDetachCfm);
  const Sent attach = take(kRttEmbuf, kAttach);
  EXPECT_EQ(attach.be16(14), 5);
  EXPECT_TRUE(cell(2, 4).attached);
  EXPECT_FALSE(answer().result);
  answer(attach, kAttachCfm);
  EXPECT_EQ(ended(), "0: ");
  EXPECT_EQ(table.usedSlots(), slotsBefore);
}

TEST_F(RouteTest, RefusalsAndRejectsLeaveTheFlagsAsTheyWereSet) {
  DaxoRecord& r = DaxoTraceModel::get(kAgent);
  EXPECT_EQ(command({"1:rtt", "lpp"}).text, "Daxo connection not deployed\n");

  cell(2, 7).attached = true;
  command({"1:rtt", "embuf"});
  answer(take(kRttEbcom, kDetach), 3, cause(1));
  EXPECT_EQ(ended(), "1: Route detach rejected\n");
  EXPECT_FALSE(cell(2, 7).attached);
  EXPECT_FALSE(cell(2, 4).attached);

  command({"1:rtt", "embuf"});
  answer(take(kRttEmbuf, kAttach), kAttachRej, cause(1));
  EXPECT_EQ(answer().text, "Route rejected\n");
  EXPECT_TRUE(cell(2, 4).attached);

  // A recording runs: no route, unless the buffer streams.
  struct Recording : SuperTraceIdleRun {
    bool isActive() const override { return true; }
  };
  r.embuf.superTraceAction = std::make_shared<Recording>();
  EXPECT_EQ(command({"1:rtt", "ebcom"}).text, "Can not route when Daxo is recording\n");
  r.modelValid = false;
  EXPECT_EQ(command({"1:rtt", "ebcom"}).text, "Daxo not connected\n");
  r.modelValid = true;

  // The buffer is attached but nothing streams: the stop refuses, and nothing is detached.
  r.embuf.superTraceAction = std::make_shared<SuperTraceIdleRun>();
  cell(4, 7).attached = true;
  EXPECT_EQ(command({"1:embuf", "ebcom"}).text,
            "No active streaming or recording on daxo 1.\n"
            "Unable to shut down streaming. Route Aborted.\n");
  EXPECT_TRUE(cell(4, 7).attached);
  EXPECT_TRUE(held.empty() && pxm.queued(agentMbox) == 0);
  EXPECT_EQ(table.usedSlots(), slotsBefore);
}

// A route to a destination that sets up its socket and streams, and one whose set-up fails:
// e2e RouteCommandTest. The front end goes while the port is being allocated: the port is freed
// again.
TEST_F(RouteTest, AnAbortDuringTheTnSetUpLeavesNothingBehind) {
  command({"1:embuf", "net1"});
  const Sent alloc = take(kDestRoutine, 0);
  pxm.injectObs(peer, life, kFrontEndRoutine, 4);
  run();
  EXPECT_EQ(answer().result, std::optional<int>(1));
  answer(alloc, 1, allocCfm());
  answer(take(kDestRoutine, 3), 4);
  EXPECT_FALSE(store().find("net1")->inUse());
  EXPECT_EQ(table.usedSlots(), slotsBefore);
}

TEST_F(RouteTest, ALostAgentEndsTheRouteWhileALinkOrTheStreamIsAwaited) {
  DaxoRecord& r = DaxoTraceModel::get(kAgent);
  auto lose = [&] {
    r.connected = false;
    table.sendEvent(r.lostEvent->getId());
    run();
    EXPECT_EQ(ended(), "1: Route action failed due to loss of daxo 1\n");
    EXPECT_EQ(table.usedSlots(), slotsBefore);
  };
  cell(2, 7).attached = true;
  command({"1:rtt", "embuf"});
  take(kRttEbcom, kDetach);
  lose();

  // The connection comes back; the buffer's set-up is out when it goes again.
  r.connected = true;
  r.lostEvent = std::make_shared<kvntrace::Event>();
  link(4, 7, kEmbufEbcom, 1);
  r.embuf.superTraceBufferProxy =
      std::make_shared<SuperTraceBufferProxy>(&table, agentMbox, kBuffer, r.lostEvent->getId());
  slotsBefore = table.usedSlots();
  command({"1:embuf", "ebcom"});
  answer(take(kEmbufEbcom, kAttach), kAttachCfm);
  take(kBuffer, kSetUp);
  lose();
}

}  // namespace
}  // namespace kvn
