#include "service/datapath/super_trace.h"

#include "base/kvn_obs_sub_message_with_sub_msg_no.h"
#include "service/agents/daxo_trace_model.h"
#include "service/agents/forwarder_kind.h"
#include "service/datapath/super_trace_run.h"
#include "service/signals/signal_proxies.h"
#include "tracing/log.h"
#include "util/mainloop/routine_table.h"

namespace kvn {

namespace {

constexpr uint32_t kStopped = 0, kStarted = 1, kStopping = 2;

// The sources that a route into the memory buffer feeds, by forwarder row.
constexpr struct {
  uint16_t row;
  uint16_t bits;
} kSourceBits[] = {{1, 0x0001}, {2, 0x000E}, {3, 0x0010}};

constexpr uint16_t kEmbufKind = 4;

// What runs on the agent, kept alive through a call that may end with the record holding
// another run. A record made without the data path's connect hooks has none.
std::shared_ptr<SuperTraceRun> runOf(const DaxoRecord& r) { return r.embuf.superTraceAction; }

}  // namespace

// The controller's mailbox end: a routine in the table that hands what it gets to the controller,
// which lives on main's stack and is no routine of the table's.
class SuperTrace::Receiver : public Routine {
 public:
  explicit Receiver(SuperTrace& owner) : owner_(owner) {}
  void pxm_message(pxm_msg*& msg, size_t msgsize) override { owner_.pxm_message(msg, msgsize); }
  void handleEvent(kvntrace::EventId event) override { owner_.handleEvent(event); }

 private:
  SuperTrace& owner_;
};

SuperTrace::SuperTrace(kvntrace::EventId connectEvent, RoutineTable* routineTable,
                       uint16_t routineId)
    : routineTable_(routineTable),
      routineId_(routineId),
      connectEvent_(connectEvent),
      receiver_(std::make_shared<Receiver>(*this)) {
  setRoutineId(routineId);
  setRoutineTable(routineTable);
  receiver_->subscribeEvent(connectEvent_);
  routineTable_->allocate(receiver_, routineId_);
}

SuperTrace::~SuperTrace() {
  if (routineTable_->get(routineId_) == receiver_) routineTable_->take(routineId_);
}

uint16_t SuperTrace::sourceMask(const DaxoRecord& record) {
  uint16_t mask = 0;
  for (const auto& s : kSourceBits)
    if (record.links[s.row][kEmbufKind].attached) mask |= s.bits;
  return mask;
}

bool SuperTrace::isStreaming(const DaxoRecord& record) {
  for (const ForwarderLink& link : record.links[kEmbufKind])
    if (link.attached) return true;
  return false;
}

bool SuperTrace::startProducer(uint16_t agent) {
  DaxoRecord& r = DaxoTraceModel::get(agent);
  if (r.embuf.producerState != kStopped || !r.embuf.superTraceControlProxy) return false;
  r.embuf.producerState = kStarted;
  SuperTraceControlProxy& proxy = *r.embuf.superTraceControlProxy;
  auto* msg = proxy.make<KvnSuperTraceProducerStartIndS>();
  msg->sourceMask = sourceMask(r);
  proxy.send(msg);
  return true;
}

bool SuperTrace::startConsumer(uint16_t agent) {
  DaxoRecord& r = DaxoTraceModel::get(agent);
  if (r.embuf.consumerState != kStopped || !r.embuf.superTraceControlProxy) return false;
  r.embuf.consumerState = kStarted;
  SuperTraceControlProxy& proxy = *r.embuf.superTraceControlProxy;
  proxy.send(proxy.make<KvnSuperTraceConsumerStartIndS>());
  return true;
}

bool SuperTrace::stopProducer(uint16_t agent) {
  DaxoRecord& r = DaxoTraceModel::get(agent);
  if (r.embuf.producerState != kStarted || !r.embuf.superTraceControlProxy) return false;
  r.embuf.producerState = kStopping;
  SuperTraceControlProxy& proxy = *r.embuf.superTraceControlProxy;
  auto* msg = proxy.make<KvnSuperTraceProducerStopReqS>();
  msg->sourceMask = sourceMask(r);
  std::function<void(KvnSuperTraceProducerStopCfmS*&, size_t)> onCfm =
      [agent](KvnSuperTraceProducerStopCfmS*&, size_t) {
        // The waiting routine goes with the agent's connection: this is still the same record.
        DaxoRecord& rec = DaxoTraceModel::get(agent);
        rec.embuf.producerState = kStopped;
        if (auto run = runOf(rec)) run->producerStopped(agent);
      };
  proxy.send(msg, getKillableCallback(std::move(onCfm)));
  return true;
}

bool SuperTrace::stopConsumer(uint16_t agent) {
  DaxoRecord& r = DaxoTraceModel::get(agent);
  if (r.embuf.consumerState != kStarted || !r.embuf.superTraceControlProxy) return false;
  r.embuf.consumerState = kStopping;
  SuperTraceControlProxy& proxy = *r.embuf.superTraceControlProxy;
  std::function<void(KvnSuperTraceConsumerStopCfmS*&, size_t)> onCfm =
      [agent](KvnSuperTraceConsumerStopCfmS*&, size_t) {
        DaxoRecord& rec = DaxoTraceModel::get(agent);
        rec.embuf.consumerState = kStopped;
        if (auto run = runOf(rec)) run->consumerStopped(agent);
      };
  proxy.send(proxy.make<KvnSuperTraceConsumerStopReqS>(), getKillableCallback(std::move(onCfm)));
  return true;
}

void SuperTrace::pxm_message(pxm_msg*& msg, size_t msgsize) {
  const auto* header = reinterpret_cast<const KvnObsSubMessageWithSubMsgNo*>(msg);
  const uint32_t from = sender(msg);
  uint16_t agent = 0;
  for (uint16_t n = 1; n <= DaxoTraceModel::MAX_DAXO_NUMBER && agent == 0; ++n) {
    const DaxoRecord& r = DaxoTraceModel::get(n);
    if (r.connected && r.mailbox == from && r.embuf.superTraceRoutine == header->srcRoutineId)
      agent = n;
  }
  if (agent == 0) {
    TC_LOG_ERROR("Received message from disconnected or unregistered DAXO");
    return;
  }
  DaxoRecord& r = DaxoTraceModel::get(agent);
  std::shared_ptr<SuperTraceRun> run = watched_.count(agent) != 0 ? runOf(r) : nullptr;
  switch (header->submsgno) {
    case kBufferFullInd:
      if (run && r.embuf.producerState == kStarted) run->bufferFull(agent);
      break;
    case kBufferEmptyInd:
      if (run && r.embuf.consumerState == kStarted) run->bufferEmpty(agent);
      break;
    default:
      TC_LOG_ERROR("Unhandled signal with submsgno %d", static_cast<int>(header->submsgno));
      break;
  }
}

void SuperTrace::handleEvent(kvntrace::EventId event) {
  if (event == connectEvent_) {
    watchConnected();
    return;
  }
  for (const auto& [agent, lostEvent] : watched_)
    if (lostEvent == event) {
      lost(agent);
      return;
    }
}

// An agent that connected again without being lost in between has a new record and a new lost
// event: it is watched again on the new connection.
void SuperTrace::watchConnected() {
  for (uint16_t n = 1; n <= DaxoTraceModel::MAX_DAXO_NUMBER; ++n) {
    const DaxoRecord& r = DaxoTraceModel::get(n);
    if (!r.connected || !r.lostEvent || r.embuf.superTraceRoutine == kDaxoRoutineNotDeployed)
      continue;
    const kvntrace::EventId lostEvent = r.lostEvent->getId();
    auto it = watched_.find(n);
    if (it != watched_.end()) {
      if (it->second == lostEvent) continue;
      receiver_->unsubscribeEvent(it->second);
    }
    watched_[n] = lostEvent;
    receiver_->subscribeEvent(lostEvent);
  }
}

void SuperTrace::lost(uint16_t agent) {
  receiver_->unsubscribeEvent(watched_[agent]);
  watched_.erase(agent);
  if (auto run = runOf(DaxoTraceModel::get(agent))) run->agentLost(agent);
}

}  // namespace kvn
