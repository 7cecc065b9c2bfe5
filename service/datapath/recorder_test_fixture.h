#pragma once
// Test support of the recorder commands: agent 1 with SuperTrace and lpp and rtt routed into its
// memory buffer, a front end that the test confirms by hand, and the agent's answers built in
// their wire form.

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "service/agents/daxo_test_fixture.h"
#include "service/datapath/recorder_cmd_parser.h"
#include "service/datapath/super_trace.h"
#include "service/datapath/trace_data_path_connect_hooks.h"
#include "service/signals/super_trace_signals.h"
#include "service/trace_controller_context.h"
#include "util/cmd/output_cmd_session.h"
#include "util/cmd/tavi_command_proxy.h"
#include "util/testing/wire_bytes.h"

namespace kvn::testing {

constexpr uint32_t kSuperT = 1700000000;  // 2023-11-14 22:13:20 UTC

// The wall time `micros` after kSuperT, with the BFN `bfn`.
inline kvnSuperTimeS superTime(int64_t micros, uint32_t bfn = 0) {
  return {kSuperT + static_cast<uint32_t>(micros / 1000000),
          static_cast<uint32_t>(micros % 1000000), bfn};
}
// A block header as an agent's buffer index holds it.
inline kvnSuperBlockHeaderS superBlock(uint16_t source, uint16_t sequence, uint32_t size,
                                       uint16_t dmaInterrupts, kvnSuperTimeS start,
                                       kvnSuperTimeS end, uint16_t errors = 0) {
  return {source, 0x1000, size, dmaInterrupts, errors, sequence, start, end};
}

class RecorderTestFixture : public DaxoTestFixture {
 protected:
  using Sent = FakePxm::Sent;
  static constexpr uint16_t kControlRoutine = 10, kBufferRoutine = 11, kFrontRoutine = 77;

  struct Print {
    uint16_t sequence;
    uint16_t stream;
    std::string bytes;
    uint16_t routine;  // that waits for its confirm
  };

  RecorderTestFixture() {
    DaxoTraceModel::addConnectHooks(&hooks);
    TraceControllerContext::get().superTrace = &superTrace;
  }
  ~RecorderTestFixture() override {
    TraceControllerContext::get().superTrace = nullptr;
    DaxoTraceModel::removeConnectHooks(&hooks);
  }

  // Agent `n` with SuperTrace (unless `superTrace` is false), rtt and lpp routed into its memory
  // buffer.
  pxm_mbox_id_t connectDaxo(uint16_t n = 1, bool withSuperTrace = true) {
    Description d = agent(n);
    d.attributes = {{20, 0, {8, 0, 0}}, {20, 3, {2, 4, 0}}, {21, 0, {8, 0, 0}}, {21, 3, {3, 4, 0}}};
    if (withSuperTrace) {
      d.attributes.push_back({kControlRoutine, 0, {4, 0, 0}});
      d.attributes.push_back({kBufferRoutine, 0, {9, 0, 0}});
    }
    daxo = DaxoTestFixture::connectAgent(d);
    DaxoRecord& r = DaxoTraceModel::get(n);
    r.links[2][4].attached = r.links[3][4].attached = true;
    return daxo;
  }

  // Runs `zoth recorder <args>` up to where it waits; the answers of a parser come at once.
  void cmd(const std::vector<std::string>& args) {
    prints.clear();
    confirmed = 0;
    result = -1;
    std::shared_ptr<CmdSession> session = parser.parse(args);
    if (auto out = std::dynamic_pointer_cast<OutputCmdSession>(session)) {
      prints.push_back({0, 0, out->getText(), 0});
      result = out->getResult();
      return;
    }
    session->attachTavi(std::make_shared<TaviCommandProxy>(&table, front, kFrontRoutine));
    table.allocate(session);
    session->start();
    run();
  }
  void run() {
    pxm.runUntilIdle(loop);
    while (auto m = pxm.popSent(front)) {
      if (m->submsgno == 8)
        prints.push_back({m->be16(12), m->be16(14), m->text(18, m->be16(16)), m->srcRoutineId});
      if (m->submsgno == 7) result = m->u8(12);
    }
  }
  std::string text() const {
    std::string all;
    for (const Print& p : prints) all += p.bytes;
    return all;
  }
  // The front end confirms every chunk it has not yet confirmed.
  void confirmPrints() {
    for (; confirmed < prints.size(); ++confirmed)
      pxm.injectObs(front, prints[confirmed].routine, kFrontRoutine, 8, {0, 0});
    run();
  }

  // The routines in use once the front end has gone, which ends the routines that watch it.
  size_t settled() {
    pxm.kill(front);
    run();
    front = pxm.createPeer("kvnsh");
    return table.usedSlots();
  }

  // What the agent was sent since the last look.
  std::vector<Sent> requests() {
    std::vector<Sent> out;
    while (auto m = pxm.popSent(daxo)) out.push_back(*m);
    return out;
  }
  void answer(const Sent& req, uint16_t submsgno, const std::vector<uint8_t>& body) {
    pxm.injectObs(daxo, req.srcRoutineId, req.dstRoutineId, submsgno, body);
    run();
  }

  static kvnSuperBlockHeaderS block(uint16_t source, uint16_t sequence, uint32_t size,
                                    int64_t startUs = 0, int64_t endUs = 1000) {
    return superBlock(source, sequence, size, 1, superTime(startUs), superTime(endUs));
  }
  // The body of an index confirm; `claimed` headers are announced when given.
  static std::vector<uint8_t> indexBody(const std::vector<kvnSuperBlockHeaderS>& headers,
                                        int claimed = -1, uint32_t blockSize = 4096) {
    std::vector<uint8_t> b;
    putBe(b, blockSize, 4);
    putBe(b, claimed >= 0 ? claimed : static_cast<uint32_t>(headers.size()), 2);
    for (const kvnSuperBlockHeaderS& h : headers) {
      putBe(b, h.source, 2);
      putBe(b, h.address, 4);
      putBe(b, h.size, 4);
      putBe(b, h.dmaInterrupts, 2);
      putBe(b, h.errors, 2);
      putBe(b, h.sequence, 2);
      for (const kvnSuperTimeS& t : {h.startTime, h.endTime}) {
        putBe(b, t.seconds, 4);
        putBe(b, t.microseconds, 4);
        putBe(b, t.bfn, 4);
      }
    }
    if (headers.empty()) b.resize(b.size() + sizeof(kvnSuperBlockHeaderS));  // room for one
    return b;
  }
  // The data a block holds: word i of block b is b * 10000 + i, big-endian.
  static std::string words(uint16_t blockId, uint32_t offset, uint32_t length) {
    std::string s;
    for (uint32_t i = offset; i < offset + length; ++i) {
      const uint16_t w = static_cast<uint16_t>(blockId * 10000 + i);
      s += static_cast<char>(w >> 8);
      s += static_cast<char>(w & 0xFF);
    }
    return s;
  }
  // The agent answers a data request with the data asked for; `length` and `seqNum` may lie.
  void answerData(const Sent& req, int length = -1, int seqNum = -1) {
    const uint32_t asked = req.be32(20);
    const uint32_t n = length >= 0 ? static_cast<uint32_t>(length) : asked;
    std::vector<uint8_t> body(req.body.begin(), req.body.end());
    if (seqNum >= 0) body[2] = static_cast<uint8_t>(seqNum >> 8), body[3] = seqNum & 0xFF;
    body[8] = static_cast<uint8_t>(n >> 24), body[9] = static_cast<uint8_t>(n >> 16);
    body[10] = static_cast<uint8_t>(n >> 8), body[11] = static_cast<uint8_t>(n);
    const std::string data = words(req.be16(12), req.be32(16), std::min(n, asked));
    body.insert(body.end(), data.begin(), data.end());
    answer(req, 13, body);
  }

  TraceDataPathConnectHooks hooks;
  SuperTrace superTrace{connectEvent->getId(), &table, 3};
  RecorderCmdParser parser;
  pxm_mbox_id_t daxo = 0;
  pxm_mbox_id_t front = pxm.createPeer("kvnsh");
  std::vector<Print> prints;
  size_t confirmed = 0;
  int result = -1;
};

}  // namespace kvn::testing
