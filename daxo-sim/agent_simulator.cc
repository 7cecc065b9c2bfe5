#include "daxo-sim/agent_simulator.h"

#include <stdio.h>
#include <string.h>

#include <nlohmann/json.hpp>

#include "daxo-sim/connect_message.h"
#include "pxm/pxm.h"
#include "sim/hub_join.h"
#include "sim/send_bytes.h"

namespace kvn::daxosim {

namespace {
constexpr uint32_t kReceiveTimeoutMs = 200;  // how long a stop request may wait
}

AgentSimulator::AgentSimulator(const AgentDescription& description, Options options,
                               sim::Journal& journal, const HandlerRegistry& handlers)
    : description_(description),
      options_(std::move(options)),
      journal_(journal),
      router_(handlers, journal,
              [this](std::vector<uint8_t> m, uint32_t to) { sim::sendBytes(m, to); }),
      ownMailbox_(PXM_NO_MBOX) {
  if (options_.mailboxName.empty()) options_.mailboxName = description_.mailboxName;
  if (options_.mailboxName.empty())
    options_.mailboxName = "daxo-sim-" + std::to_string(description_.bbmHwNumber);
}

AgentSimulator::~AgentSimulator() {
  watch_.forget();
  // Deleting the mailbox is what tells the service that this agent is gone.
  if (ownMailbox_ != PXM_NO_MBOX) pxm_delete_mailbox(ownMailbox_);
  if (initialized_) pxm_exit();
}

int AgentSimulator::run(const volatile sig_atomic_t& stop) {
  if (!sim::joinHub(options_.nameSpace)) return 1;
  initialized_ = true;
  ownMailbox_ = sim::openMailbox(options_.mailboxName);
  if (ownMailbox_ == PXM_NO_MBOX) return 1;
  findService();
  while (!stop && !serviceGone_) {
    uint32_t timeout = kReceiveTimeoutMs;
    if (options_.tick) {
      const long next = options_.tick();
      if (next >= 0 && next < static_cast<long>(timeout)) timeout = next < 1 ? 1 : next;
    }
    pxm_msg* msg = pxm_receive(nullptr, timeout, PXM_FROM_ALL);
    if (!msg) continue;
    handle(msg);
    if (msg) pxm_free(&msg);
  }
  journal_.event("stopped");
  return 0;
}

void AgentSimulator::findService() {
  if (const std::optional<uint32_t> id = watch_.locate(options_.serviceName))
    connect(*id);
  else
    journal_.event("waiting_for_service");
}

void AgentSimulator::connect(uint32_t service) {
  watch_.watch(service);
  sim::sendBytes(ConnectMessage::encode(description_), service);
  nlohmann::json entry;
  entry["event"] = "connect_sent";
  entry["service"] = service;
  entry["mailbox"] = ownMailbox_;
  entry["bbmHwNumber"] = description_.bbmHwNumber;
  journal_.write(entry);
}

void AgentSimulator::handle(pxm_msg* msg) {
  const uint32_t sender = pxm_sender(msg);
  const size_t size = pxm_size(msg);
  const uint8_t* bytes = reinterpret_cast<const uint8_t*>(msg);
  if (msg->msgno == ConnectMessage::kBaseSignalNo) {
    router_.route(sender, bytes, size);
    return;
  }
  switch (watch_.classify(msg)) {
    case sim::ServiceWatch::Event::kFound:
      findService();  // it may be gone again before we got to it
      return;
    case sim::ServiceWatch::Event::kLost:
      journal_.event("service_lost");
      if (options_.reconnect)
        findService();
      else
        serviceGone_ = true;
      return;
    case sim::ServiceWatch::Event::kNone:
      break;
  }
  nlohmann::json entry;
  entry["from"] = sender;
  entry["msgno"] = msg->msgno;
  entry["size"] = size;
  entry["body"] = sim::Journal::hex(bytes, size);
  entry["error"] = "unexpected message number";
  journal_.write(entry);
}

}  // namespace kvn::daxosim
