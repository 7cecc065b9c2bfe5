#pragma once
// Test support: the agent connect client (routines 0 and 5) and the connection monitor on an
// in-process mailbox, with agents that connect from descriptions as the simulator sends them.

#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "daxo-sim/agent_description.h"
#include "daxo-sim/connect_message.h"
#include "service/agents/daxo_connect_client.h"
#include "service/agents/daxo_connection_monitor.h"
#include "service/agents/daxo_trace_model.h"
#include "tracing/log_capture.h"
#include "util/mainloop/event.h"
#include "util/mainloop/routine_proxy.h"
#include "util/testing/loop_with_table.h"

namespace kvn::testing {

class DaxoTestFixture : public ::testing::Test, protected LoopWithTable {
 protected:
  using Description = kvn::daxosim::AgentDescription;
  using Level = kvn::log::Level;
  using LogCapture = kvn::log::LogCapture;

  DaxoTestFixture() {
    DaxoTraceModel::resetAll();
    client = std::make_shared<DaxoConnectClient>(loop, connectEvent);
    table.allocate(client, DaxoConnectClient::kInitialConnectRoutine);
    table.allocate(std::make_shared<RoutineProxy>(client.get()),
                   DaxoConnectClient::kVersionConnectRoutine);
    monitor = std::make_shared<DaxoConnectionMonitor>(connectEvent->getId());
    table.allocate(monitor);
  }

  ~DaxoTestFixture() override { DaxoTraceModel::resetAll(); }

  // A description with no routines: agent `number`, "MOKA", domain index 1.
  static Description agent(uint16_t number,
                           Description::ConnectForm form = Description::ConnectForm::kVersion) {
    Description d;
    d.form = form;
    d.version = form == Description::ConnectForm::kVersion ? 2 : 0;
    d.bbmHwNumber = number;
    d.instanceName = "MOKA";
    d.domainDaxoIndex = 1;
    return d;
  }

  // Sends the connect message of `d` from `peer`, cut to `size` bytes when that is given, and
  // runs the loop.
  void connect(pxm_mbox_id_t peer, const Description& d, size_t size = 0) {
    std::vector<uint8_t> bytes = kvn::daxosim::ConnectMessage::encode(d);
    if (size != 0) bytes.resize(size);
    const uint16_t dst = static_cast<uint16_t>(bytes[4] << 8 | bytes[5]);
    pxm.injectObs(peer, dst, 0, 0, std::vector<uint8_t>(bytes.begin() + 12, bytes.end()));
    pxm.runUntilIdle(loop);
  }

  pxm_mbox_id_t connectAgent(const Description& d) {
    const pxm_mbox_id_t peer = pxm.createPeer("daxo-" + std::to_string(d.bbmHwNumber));
    connect(peer, d);
    return peer;
  }

  // The agent's mailbox dies and the loop hears of it.
  void disconnect(pxm_mbox_id_t peer) {
    pxm.kill(peer);
    pxm.runUntilIdle(loop);
  }

  std::shared_ptr<kvntrace::Event> connectEvent = std::make_shared<kvntrace::Event>();
  std::shared_ptr<DaxoConnectClient> client;
  std::shared_ptr<DaxoConnectionMonitor> monitor;
};

}  // namespace kvn::testing
