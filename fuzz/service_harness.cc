#include "fuzz/service_harness.h"

#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "daxo-sim/connect_message.h"
#include "service/agents/daxo_connect_client.h"
#include "service/agents/daxo_trace_model.h"
#include "service/agents/info_cmd_parser.h"
#include "service/signals/daxo_connect_signals.h"
#include "service/tracecontrol/log_cmd_parser.h"
#include "service/tracecontrol/profile_cmd_parser.h"
#include "service/zorf_cmd_parser.h"
#include "util/cmd/cmd_session_factory.h"
#include "util/mainloop/routine_proxy.h"
#include "util/testing/scratch_dir.h"

namespace kvn::fuzz {

namespace {

using kvn::testing::FakePxm;

// A private directory for the saved states that `zorf log save` writes, emptied after each
// input so that no input leaves state behind for the next.
const std::string& logDir() {
  static const kvn::testing::ScratchDir scratch;
  static const std::string dir = [] {
    setenv("LOG_DIR", scratch.path().c_str(), 1);
    return scratch.path();
  }();
  return dir;
}

TraceControlConnectHooks& hooks() {
  static TraceControlConnectHooks hooks;
  return hooks;
}

}  // namespace

const std::string& ServiceHarness::sampleLmc() {
  static const std::string path = KVN_FUZZ_SAMPLE_LMC;
  return path;
}

ServiceHarness::ServiceHarness() {
  logDir();
  DaxoTraceModel::resetAll();
  DaxoTraceModel::addConnectHooks(&hooks());
  auto connectClient = std::make_shared<DaxoConnectClient>(s_.loop);
  s_.table.allocate(connectClient, DaxoConnectClient::kInitialConnectRoutine);
  s_.table.allocate(std::make_shared<RoutineProxy>(connectClient.get()),
                    DaxoConnectClient::kVersionConnectRoutine);
  auto factory = std::make_shared<CmdSessionFactory>();
  auto zoth = std::make_shared<CmdParser>("zoth", "Base band trace session.");
  factory->addRootParser(zoth);
  zoth->addSubcommand(std::make_shared<InfoCmdParser>());
  zoth->addSubcommand(std::make_shared<ProfileCmdParser>());
  auto zorf = std::make_shared<ZorfCmdParser>("zorf", "Base band trace & error.");
  factory->addRootParser(zorf);
  zorf->addSubcommand(std::make_shared<LogCmdParser>());
  s_.table.allocate(factory, 1);
  frontEnd_ = s_.pxm.createPeer("kvnsh");
}

ServiceHarness::~ServiceHarness() {
  DaxoTraceModel::resetAll();
  DaxoTraceModel::removeConnectHooks(&hooks());
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(logDir(), ignored))
    std::filesystem::remove(entry.path(), ignored);
}

void ServiceHarness::connectSampleAgent(uint16_t number) {
  // Every function the service knows, as the simulator's full agent deploys them; the message
  // is the simulator's own.
  using namespace daxo_connect;
  daxosim::AgentDescription d;
  d.roleIndex = 0;
  d.instanceName = "MOKA";
  d.loadModuleName = "daxo_dsp";
  d.lmcPath = sampleLmc();
  d.domainDaxoIndex = 1;
  d.bbmHwNumber = number;
  d.attributes = {{10, kImplements, {kImplementsEmbuf}},
                  {11, kImplements, {kImplementsMemoryBuffer}},
                  {12, kImplements, {kImplementsTraceDest}},
                  {20, kImplements, {kImplementsForwarder}},
                  {20, kLink, {1, 6}},
                  {30, kImplements, {kImplementsRttManager}},
                  {31, kImplements, {kImplementsMeasurements}},
                  {32, kImplements, {kImplementsTraceHitCounter}},
                  {40, kImplements, {kImplementsTraceObjectManager}},
                  {41, kImplements, {kImplementsUniqueTraceManager}},
                  {42, kImplements, {kImplementsSig2emManager}}};
  const std::vector<uint8_t> m = daxosim::ConnectMessage::encode(d);
  const pxm_mbox_id_t agent = newAgentMailbox("daxo-" + std::to_string(number));
  agents_.push_back(agent);
  injectFrom(agent, m.data(), m.size());
  settle();
}

void ServiceHarness::injectFrom(pxm_mbox_id_t from, const uint8_t* bytes, size_t size) {
  if (size < 12) return;
  if (from != frontEnd_ && std::find(agents_.begin(), agents_.end(), from) == agents_.end())
    agents_.push_back(from);
  pxm_msg* msg = s_.pxm.alloc(size, FakePxm::kBaseSignalNo);
  memcpy(reinterpret_cast<uint8_t*>(msg) + 4, bytes + 4, size - 4);
  s_.pxm.inject(msg, from);
}

void ServiceHarness::settle() {
  do {
    s_.pxm.runUntilIdle(s_.loop);
    while (auto m = s_.pxm.popSent(frontEnd_)) {
      // Accepted, refused, ended; a text is confirmed as the front end would.
      if (m->submsgno == 5) ++answer_.accepted;
      if (m->submsgno == 6) ++answer_.refused;
      if (m->submsgno == 7) ++answer_.ended;
      if (m->submsgno != 8) continue;
      ++answer_.texts;
      s_.pxm.injectObs(frontEnd_, m->srcRoutineId, kFrontEndRoutine, 8,
                       {m->bytes.at(12), m->bytes.at(13)});
    }
  } while (confirmAgents() || s_.pxm.queued(s_.pxm.own()) > 0);
}

bool ServiceHarness::confirmAgents() {
  bool any = false;
  for (pxm_mbox_id_t agent : agents_) {
    while (auto m = s_.pxm.popSent(agent)) {
      if (m->size < 12) continue;
      s_.pxm.injectObs(agent, m->srcRoutineId, m->dstRoutineId,
                       static_cast<uint16_t>(m->submsgno + 1));
      any = true;
    }
  }
  return any;
}

ServiceHarness::Answer ServiceHarness::takeAnswer() {
  Answer a = answer_;
  answer_ = Answer();
  return a;
}

void ServiceHarness::kill(pxm_mbox_id_t mbox) {
  s_.pxm.kill(mbox);
  settle();
}

}  // namespace kvn::fuzz
