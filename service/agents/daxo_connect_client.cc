#include "service/agents/daxo_connect_client.h"

#include <utility>

#include "base/kvn_obs_sub_message_with_sub_msg_no.h"
#include "service/agents/daxo_trace_model.h"
#include "service/signals/daxo_connect_signals.h"
#include "tracing/log.h"
#include "util/mainloop/pxm_mainloop.h"
#include "util/mainloop/routine_table.h"

namespace kvn {

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
    // A message that did not convert still reaches the model.
    const DaxoConnect message = decodeDaxoConnect(msg, size, dst == kInitialConnectRoutine);
    const uint16_t number = message.bbmHwNumber;
    TC_LOG_INFO("DAXO Connect: bbmWhNumber=%u, mbox=%u", number, mailbox);
    if (!DaxoTraceModel::connect(message, mailbox, getRoutineTable()))
      TC_LOG_ERROR("Failed build valid model for bbmWhNumber=%u", number);
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
