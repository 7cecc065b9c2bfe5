#pragma once
// Test support of the transport tests: the diag handler client at routine 8 with a diag handler
// peer, agent 1 in the model with a trace destination routine on its own peer, a destination
// store in the global context, and a small driver that plays the route command's part
// (startSession / stopSession, remembering what came back). The test answers each request by
// hand.

#include <arpa/inet.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "service/agents/daxo_trace_model.h"
#include "service/datapath/diag_handler_client_routine.h"
#include "service/datapath/trace_dest_port_pool.h"
#include "service/datapath/trace_destination.h"
#include "service/datapath/trace_destination_store.h"
#include "service/trace_controller_context.h"
#include "util/mainloop/event.h"
#include "util/testing/cmd_layer_test_base.h"
#include "util/testing/wire_bytes.h"

namespace kvn::testing {

class TnTestFixture : public CmdLayerTestBase {
 protected:
  static constexpr uint16_t kAgent = 1;
  static constexpr uint16_t kDestRoutine = 50;
  static constexpr uint16_t kDiagRoutine = 20;

  using Bytes = kvn::testing::Bytes;
  using Sent = FakePxm::Sent;

  // What the route command would have been told.
  struct Client {
    std::optional<uint16_t> socketId;
    std::optional<std::string> failure;
    size_t agentRequestsAtFailure = 0;  // what the unwinding had sent by then
  };

  TnTestFixture() {
    DaxoTraceModel::resetAll();
    TraceControllerContext& c = TraceControllerContext::get();
    c.instanceName = "kvn-tracecontroller";
    c.routineTable = &table;
    c.destinations = std::make_shared<TraceDestinationStore>(&table, nullptr);
    diagClient = std::make_shared<DiagHandlerClientRoutine>();
    table.allocate(diagClient, DiagHandlerClientRoutine::kRoutineId);

    DaxoRecord& r = DaxoTraceModel::get(kAgent);
    r.bbmHwNumber = kAgent;
    r.connected = r.modelValid = true;
    r.mailbox = agentMbox;
    r.lostEvent = std::make_shared<kvntrace::Event>();
    r.traceDest.id = kDestRoutine;
    r.traceDest.proxy =
        std::make_shared<TraceDestProxy>(&table, agentMbox, kDestRoutine, r.lostEvent->getId());
    r.traceDest.portPool = std::make_shared<TraceDestPortPool>(kAgent);
  }
  ~TnTestFixture() override {
    TraceControllerContext& c = TraceControllerContext::get();
    c.destinations.reset();
    c.tsiProxy.reset();
    c.diagHandlerMailbox = static_cast<uint32_t>(-1);
    c.routineTable = nullptr;
    DaxoTraceModel::resetAll();
  }

  TraceDestinationStore& store() { return *TraceControllerContext::get().destinations; }

  static std::shared_ptr<TraceDestination> destination(uint32_t maxRate = 5000) {
    KvnTsiProxyIpAddrS addr{};
    addr.family = 4;
    inet_pton(AF_INET, "10.0.0.1", addr.addr);
    return std::make_shared<TraceDestination>("10.0.0.1", addr, 5000, "ManagedElement=1,X=1",
                                              maxRate);
  }

  void hello() {
    pxm.injectObs(diagMbox, DiagHandlerClientRoutine::kRoutineId, kDiagRoutine, 0, {0, 0, 0, 7});
    run();
    ASSERT_TRUE(pxm.popSent(diagMbox)) << "no hello reply";
  }

  // The driver: routes `source` of agent 1 to `name`.
  Client& route(const std::string& name = "net1", uint32_t source = 4) {
    clients.push_back(std::make_unique<Client>());
    Client* c = clients.back().get();
    store().startSession(
        name, kAgent, source, [c](uint16_t id) { c->socketId = id; },
        [this, c](const std::string& text) {
          c->failure = text;
          c->agentRequestsAtFailure = pxm.queued(agentMbox);
        });
    run();
    return *c;
  }
  void unroute(uint32_t source = 4) {
    store().stopSession(kAgent, source);
    run();
  }

  // The next message to `to`; it must carry `submsgno`. Requests to the agent go to its trace
  // destination routine.
  Sent next(pxm_mbox_id_t to, uint16_t submsgno) {
    std::optional<Sent> m = pxm.popSent(to);
    if (!m) {
      ADD_FAILURE() << "mailbox " << to << " got nothing, expected " << submsgno;
      return Sent();
    }
    EXPECT_EQ(m->submsgno, submsgno);
    EXPECT_TRUE(to != agentMbox || m->dstRoutineId == kDestRoutine) << m->dstRoutineId;
    return *m;
  }
  Sent agentGets(uint16_t submsgno) { return next(agentMbox, submsgno); }
  void answer(const Sent& req, uint16_t submsgno, const Bytes& body = {}) {
    pxm.injectObs(agentMbox, req.srcRoutineId, req.dstRoutineId, submsgno, body);
    run();
  }
  Sent diagGets(uint16_t submsgno) { return next(diagMbox, submsgno); }
  void answerTsi(const Sent& req, uint16_t submsgno, const Bytes& body) {
    pxm.injectObs(diagMbox, req.srcRoutineId, 0, submsgno, body);
    run();
  }

  // Port 7, agent VLAN 33, MAC words 0x0102 0x0304 0x0506, sourceInfoA/B 0xA1A2A3A4/0xB1B2.
  static Bytes allocCfm() {
    Bytes b;
    for (uint16_t w : {7, 33, 0x0102, 0x0304, 0x0506}) put16(b, w);
    for (uint32_t w : {0u, 0xA1A2A3A4u}) put32(b, w);
    put16(b, 0xB1B2);
    return b;
  }
  static Bytes tsiCfm(uint32_t innerVlan = 0, uint32_t outerVlan = 0x10022) {
    Bytes b;
    put32(b, 0x5E55);  // session id
    put32(b, 0xCE9);   // pcep
    put16(b, 3);       // qidx
    for (uint8_t x : {0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF}) b.push_back(x);
    put32(b, innerVlan);
    put32(b, outerVlan);
    return b;
  }
  static Bytes tsiRej(const std::string& reason, uint16_t length) {
    Bytes b;
    put16(b, length);
    b.insert(b.end(), reason.begin(), reason.end());
    return b;
  }
  static Bytes openCfm(std::vector<uint16_t> ids, uint16_t count) {
    Bytes b;
    put16(b, count);
    for (uint16_t id : ids) put16(b, id);
    return b;
  }
  static Bytes cause(int16_t c) { return {static_cast<uint8_t>(c >> 8), static_cast<uint8_t>(c)}; }

  // Drives a session of `source` to ready with socket 9; returns its client.
  Client& ready(uint32_t source = 4) {
    Client& c = route("net1", source);
    answer(agentGets(0), 1, allocCfm());
    answerTsi(diagGets(0), 1, tsiCfm());
    answer(agentGets(6), 7);
    answer(agentGets(9), 10, openCfm({9}, 1));
    EXPECT_EQ(c.socketId, std::optional<uint16_t>(9));
    return c;
  }

  bool agentIdle() { return pxm.queued(agentMbox) == 0; }
  bool diagIdle() { return pxm.queued(diagMbox) == 0; }

  pxm_mbox_id_t agentMbox = pxm.createPeer("daxo-1");
  pxm_mbox_id_t diagMbox = pxm.createPeer("diag");
  std::shared_ptr<DiagHandlerClientRoutine> diagClient;
  std::vector<std::unique_ptr<Client>> clients;
};

}  // namespace kvn::testing
