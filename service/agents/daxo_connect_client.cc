#include "service/agents/daxo_connect_client.h"

#include <utility>

#include "base/kvn_obs_sub_message_with_sub_msg_no.h"
#include "service/agents/daxo_trace_model.h"
#include "service/signals/signal_byte_order.h"
#include "tracing/log.h"
#include "util/mainloop/pxm_mainloop.h"
#include "util/mainloop/routine_table.h"

namespace kvn {

namespace {

constexpr size_t kAttributeSize = 10;
constexpr size_t kInitialAttributes = 40;
constexpr size_t kVersionAttributes = 318;

// Turns `count` attributes from `offset` to host order, each field only where the message
// holds it. False at an unknown propertyType, which ends the conversion there.
bool attributesToHost(uint8_t* msg, size_t size, size_t offset, uint16_t count) {
  for (size_t i = 0; i < count; ++i) {
    const size_t at = offset + i * kAttributeSize;
    kvnsig::swapAt<uint16_t>(msg, at, size);
    kvnsig::swapAt<uint16_t>(msg, at + 2, size);
    const uint16_t propertyType = kvnsig::readAt<uint16_t>(msg, at + 2, size);
    switch (propertyType) {
      case 0:
      case 2:
        kvnsig::swapAt<uint16_t>(msg, at + 4, size);
        break;
      case 1:
        for (size_t v = 4; v <= 8; v += 2) kvnsig::swapAt<uint16_t>(msg, at + v, size);
        break;
      case 3:
        kvnsig::swapAt<uint16_t>(msg, at + 4, size);
        kvnsig::swapAt<uint16_t>(msg, at + 6, size);
        break;
      default:
        TC_LOG_ERROR("Unknown propertyType in componentAttribute: %u", propertyType);
        return false;
    }
  }
  return true;
}

bool initialToHost(uint8_t* msg, size_t size) {
  for (size_t at : {32, 34, 36}) kvnsig::swapAt<uint16_t>(msg, at, size);
  const uint16_t count = kvnsig::readAt<uint16_t>(msg, 36, size);
  const size_t required = kInitialAttributes + kAttributeSize * count;
  if (size < required) {
    TC_LOG_ERROR(
        "InitialConnect message size is not large enough for the expected attributes. "
        "Expected size %zu but found %zu",
        required, size);
    return false;
  }
  return attributesToHost(msg, size, kInitialAttributes, count);
}

bool versionToHost(uint8_t* msg, size_t size) {
  kvnsig::swapAt<uint32_t>(msg, 12, size);
  for (size_t at : {312, 314, 316}) kvnsig::swapAt<uint16_t>(msg, at, size);
  const uint32_t version = kvnsig::readAt<uint32_t>(msg, 12, size);
  const uint16_t count = kvnsig::readAt<uint16_t>(msg, 316, size);
  size_t required = kVersionAttributes + kAttributeSize * count;
  if (version > 1) {
    kvnsig::swapAt<uint16_t>(msg, required, size);
    required += 2;
  }
  if (size < required) {
    TC_LOG_ERROR(
        "DaxoVersionConnect message size is not large enough for the expected "
        "attributes. Expected size %zu but found %zu",
        required, size);
    return false;
  }
  return attributesToHost(msg, size, kVersionAttributes, count);
}

}  // namespace

DaxoConnectClient::DaxoConnectClient(PxmMainloop& mainloop,
                                     std::shared_ptr<kvntrace::Event> connectEvent)
    : mainloop_(mainloop), connectEvent_(std::move(connectEvent)) {
  mainloop_.setDispatcher(PXM_MBOX_GONE, [this](pxm_mbox_id_t sender, pxm_msg*&, size_t) {
    handleLostMailbox(sender);
  });
}

DaxoConnectClient::DaxoConnectClient(PxmMainloop& mainloop)
    : DaxoConnectClient(mainloop, std::make_shared<kvntrace::Event>()) {}

DaxoConnectClient::~DaxoConnectClient() {
  for (uint16_t n = 1; n <= DaxoTraceModel::MAX_DAXO_NUMBER; ++n) {
    const DaxoRecord& r = DaxoTraceModel::get(n);
    if (r.connected) mainloop_.unmonitorMailbox(r.mailbox);
  }
}

void DaxoConnectClient::pxm_message(pxm_msg*& msg, size_t msgsize) {
  handleConnect(sender(msg), reinterpret_cast<uint8_t*>(msg), msgsize);
}

void DaxoConnectClient::handleConnect(pxm_mbox_id_t mailbox, uint8_t* msg, size_t size) {
  const auto* header = reinterpret_cast<const KvnObsSubMessageWithSubMsgNo*>(msg);
  const uint16_t dst = header->dstRoutineId;
  if (dst == kInitialConnectRoutine || dst == kVersionConnectRoutine) {
    const bool initial = dst == kInitialConnectRoutine;
    // The result is not looked at: a message that did not convert still reaches the model.
    if (initial)
      initialToHost(msg, size);
    else
      versionToHost(msg, size);
    const uint16_t number = kvnsig::readAt<uint16_t>(msg, initial ? 34 : 314, size);
    TC_LOG_INFO("DAXO Connect: bbmWhNumber=%u, mbox=%u", number, mailbox);
    const bool valid = initial
                           ? DaxoTraceModel::connectInitial(msg, size, mailbox, getRoutineTable())
                           : DaxoTraceModel::connectVersion(msg, size, mailbox, getRoutineTable());
    if (!valid) TC_LOG_ERROR("Failed build valid model for bbmWhNumber=%u", number);
    mainloop_.monitorMailbox(mailbox);
    mailboxToDaxo_[mailbox] = number;
  } else {
    TC_LOG_ERROR("Received message for unknown destination routine %u", dst);
  }
  getRoutineTable()->sendEvent(connectEvent_->getId());
}

void DaxoConnectClient::handleLostMailbox(pxm_mbox_id_t mailbox) {
  mainloop_.unmonitorMailbox(mailbox);
  auto it = mailboxToDaxo_.find(mailbox);
  if (it == mailboxToDaxo_.end()) {
    TC_LOG_INFO("The disconnected mailbox: %u is not matching any of the monitored DAXOs!",
                mailbox);
    return;
  }
  const uint16_t number = it->second;
  if (number == 0 || number > DaxoTraceModel::MAX_DAXO_NUMBER) {
    // It connected with a number that has no record; there is nothing to mark.
    TC_LOG_ERROR("The disconnected mailbox: %u had bbmWhNumber=%u, which has no record", mailbox,
                 number);
    return;
  }
  DaxoRecord& r = DaxoTraceModel::get(number);
  r.connected = false;
  if (r.lostEvent) getRoutineTable()->sendEvent(r.lostEvent->getId());
  TC_LOG_INFO("DAXO disconnected: bbmWhNumber=%u", number);
}

}  // namespace kvn
