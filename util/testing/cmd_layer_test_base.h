#pragma once
// Test fixture of the command layer and the proxies: the in-process mailbox, a main loop that
// dispatches routine-addressed messages to a routine table, and one peer mailbox standing for
// the front end or an agent.

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "util/cmd/cmd_session.h"
#include "util/cmd/output_cmd_session.h"
#include "util/cmd/tavi_command_proxy.h"
#include "util/testing/loop_with_table.h"

namespace kvn::testing {

class CmdLayerTestBase : public ::testing::Test, protected LoopWithTable {
 protected:
  void TearDown() override { EXPECT_EQ(pxm.badFrees(), 0); }

  void run() { pxm.runUntilIdle(loop); }

  static constexpr uint16_t kFrontEndRoutine = 77;
  // What the front end (`peer`) got: the text of the print chunks, the result once ended.
  struct Answer {
    std::string text;
    std::optional<int> result;  // none while the command runs
  };

  // Registers and starts `session` for the front end, as the factory does, and runs the loop;
  // its routine number.
  uint16_t launch(const std::shared_ptr<CmdSession>& session) {
    session->attachTavi(std::make_shared<TaviCommandProxy>(&table, peer, kFrontEndRoutine));
    const uint16_t id = table.allocate(session);
    session->start();
    run();
    return id;
  }
  // A parsed command line run afresh: the parser's own answer at once, else the session's.
  Answer command(const std::shared_ptr<CmdSession>& session) {
    answer_ = {};
    if (auto out = std::dynamic_pointer_cast<OutputCmdSession>(session))
      return answer_ = {out->getText(), out->getResult()};
    launch(session);
    return answer();
  }
  // What the front end got so far.
  Answer answer() {
    while (auto m = pxm.popSent(peer)) {
      if (m->submsgno == 8) answer_.text += m->text(18, m->be16(16));
      if (m->submsgno == 7) answer_.result = m->u8(12);
    }
    return answer_;
  }

  // The messages the front end got, of sub-message `submsgno` only when one is given.
  std::vector<FakePxm::Sent> received(int submsgno = -1) {
    std::vector<FakePxm::Sent> out;
    while (auto m = pxm.popSent(peer))
      if (submsgno < 0 || m->submsgno == submsgno) out.push_back(*m);
    return out;
  }

  pxm_mbox_id_t peer = pxm.createPeer("peer");
  Answer answer_;
};

}  // namespace kvn::testing
