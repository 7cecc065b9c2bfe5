#include "util/cmd/cmd_session.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tracing/log_capture.h"
#include "util/cmd/output_cmd_session.h"
#include "util/testing/cmd_layer_test_base.h"

namespace kvn {
namespace {

using kvn::log::Level;
using kvn::log::LogCapture;

// A session whose start the test decides, and which says when it is gone.
class ScriptedSession : public CmdSession {
 public:
  std::function<void(ScriptedSession&)> onStart;
  bool* destroyed = nullptr;
  ~ScriptedSession() override {
    if (destroyed != nullptr) *destroyed = true;
  }
  void start() override {
    if (onStart) onStart(*this);
  }
  using CmdSession::end;
  using CmdSession::print;
  using CmdSession::printChunk;
};

class CmdSessionTest : public kvn::testing::CmdLayerTestBase {
 protected:
  // Makes the table drain what was released outside a dispatch.
  void drain() {
    if (!table.get(3)) table.allocate(std::make_shared<Routine>(), 3);
    pxm.injectObs(peer, 3, kFrontEndRoutine, 0);
    run();
  }
};

TEST_F(CmdSessionTest, PrintSendsChunksOfAtMost50000InOrder) {
  for (const auto& [size, chunks] : std::vector<std::pair<size_t, std::vector<size_t>>>{
           {100000, {50000, 50000}}, {100001, {50000, 50000, 1}}, {0, {0}}}) {
    std::string text(size, 'x');
    if (size > 0) text.back() = 'z';
    auto session = std::make_shared<ScriptedSession>();
    session->onStart = [&](ScriptedSession& s) { s.print(text); };
    launch(session);
    auto msgs = received(8);
    ASSERT_EQ(msgs.size(), chunks.size()) << size;
    std::string joined;
    for (size_t i = 0; i < msgs.size(); ++i) {
      EXPECT_EQ(msgs[i].be16(16), chunks[i]);
      EXPECT_EQ(msgs[i].size, chunks[i] + 38) << "20 bytes of slack";
      EXPECT_EQ(msgs[i].be16(12), 0);
      EXPECT_EQ(msgs[i].be16(14), 0);
      joined += msgs[i].text(18, chunks[i]);
    }
    EXPECT_EQ(joined, text);
    session->end(0);
  }
}

TEST_F(CmdSessionTest, EndSendsTheResultFiresCmdEndAndReleases) {
  bool destroyed = false;
  auto session = std::make_shared<ScriptedSession>();
  session->destroyed = &destroyed;
  const uint16_t id = launch(session);
  LogCapture cap;
  session->end(3);
  auto ended = received(7);
  ASSERT_EQ(ended.size(), 1u);
  EXPECT_EQ(ended[0].size, 14u);
  EXPECT_EQ(ended[0].u8(12), 3);
  EXPECT_EQ(ended[0].dstRoutineId, kFrontEndRoutine);
  EXPECT_TRUE(cap.has(Level::Info, "cmdId=" + std::to_string(id) + " retVal=3"));
  session.reset();
  drain();
  EXPECT_TRUE(destroyed);
}

// An abort from the front end, or its death, ends a session without its own abort with 1.
TEST_F(CmdSessionTest, AbortOrFrontEndDeathEndsWithOneAndTheLifeRoutineGoes) {
  for (const bool death : {false, true}) {
    SCOPED_TRACE(death);
    auto session = std::make_shared<ScriptedSession>();
    const uint16_t id = launch(session);
    const uint16_t life = received(5).at(0).srcRoutineId;
    EXPECT_EQ(pxm.monitorCount(), 1u);
    session.reset();
    LogCapture cap;
    if (death)
      pxm.kill(peer);
    else
      pxm.injectObs(peer, life, kFrontEndRoutine, 4);
    run();
    EXPECT_TRUE(cap.has("cmdId=" + std::to_string(id) + " retVal=1"));
    EXPECT_EQ(received(7).size(), death ? 0u : 1u) << "the ended message, while one can go";
    EXPECT_FALSE(table.get(life));
    EXPECT_FALSE(table.get(id));
    EXPECT_EQ(pxm.monitorCount(), 0u);
    EXPECT_EQ(pxm.leakedMessages(), 0u);
  }
}

TEST_F(CmdSessionTest, FrontEndGoneAfterTheEndTakesItsUnconfirmedTextAlong) {
  drain();
  const size_t idle = table.usedSlots();
  auto session = std::make_shared<OutputCmdSession>("done", 0);
  launch(session);
  const uint16_t life = received(5).at(0).srcRoutineId;
  session.reset();
  drain();  // as after the dispatch that started it
  EXPECT_EQ(table.usedSlots(), idle + 2) << "the life routine and the text's";
  LogCapture cap;
  pxm.kill(peer);
  run();
  EXPECT_EQ(cap.count(Level::Info, "cmdId=1198 retVal=1"), 0);
  EXPECT_FALSE(table.get(life));
  EXPECT_EQ(pxm.monitorCount(), 0u);
  EXPECT_EQ(table.usedSlots(), idle) << "no confirm can come from a dead front end";
}

TEST_F(CmdSessionTest, AbortBeforeTheEndLeavesTheTextWaitingForItsConfirm) {
  auto session = std::make_shared<ScriptedSession>();
  session->onStart = [](ScriptedSession& s) { s.print("partial"); };
  launch(session);
  uint16_t life = 0, text = 0;
  while (auto m = pxm.popSent(peer)) (m->submsgno == 5 ? life : text) = m->srcRoutineId;
  session.reset();
  pxm.injectObs(peer, life, kFrontEndRoutine, 4);  // Ctrl-C: the front end still confirms
  run();
  EXPECT_TRUE(table.get(text));
  pxm.injectObs(peer, text, kFrontEndRoutine, 0, {0, 0});
  run();
  EXPECT_FALSE(table.get(text));
}

TEST_F(CmdSessionTest, PrintConfirmReachesItsCallableAndMessagesToTheSessionAreRefused) {
  std::vector<uint16_t> confirmed;
  auto session = std::make_shared<ScriptedSession>();
  session->onStart = [&](ScriptedSession& s) {
    s.printChunk("ab", 2, 0x1234, 1, [&](KvnTraceCtrlTaviPrintCfm*& cfm, size_t) {
      confirmed.push_back(cfm->sequence);
    });
  };
  const uint16_t id = launch(session);
  auto print = received(8).at(0);
  EXPECT_EQ(print.be16(12), 0x1234);
  EXPECT_EQ(print.be16(14), 1);
  pxm.injectObs(peer, print.srcRoutineId, kFrontEndRoutine, 99, {0x12, 0x34});
  run();
  EXPECT_EQ(confirmed, std::vector<uint16_t>{0x1234});
  EXPECT_FALSE(table.get(print.srcRoutineId));
  LogCapture cap;  // a message to the session itself is refused
  pxm.injectObs(peer, id, kFrontEndRoutine, 1);
  run();
  EXPECT_TRUE(cap.has(Level::Error, "Unhandled pxm_message"));
  session->end(0);
}

}  // namespace
}  // namespace kvn
