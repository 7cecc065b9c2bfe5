#include "service/datapath/diag_handler_client_routine.h"

#include <string.h>

#include <memory>

#include "base/kvn_obs_sub_message_with_sub_msg_no.h"
#include "service/signals/diag_handler_signals.h"
#include "service/signals/signal_proxies.h"
#include "service/trace_controller_context.h"
#include "tracing/log.h"
#include "util/mainloop/routine_table.h"

namespace kvn {

namespace {
constexpr pxm_monitor_id_t kNoMonitor = static_cast<pxm_monitor_id_t>(-1);
constexpr uint16_t kTsiProxyRoutine = 0;
}  // namespace

DiagHandlerClientRoutine::DiagHandlerClientRoutine() {
  TraceControllerContext::get().diagHandlerLostEvent = lostEvent_.getId();
}

DiagHandlerClientRoutine::~DiagHandlerClientRoutine() {
  if (monitorRef != kNoMonitor) unmonitor(monitorRef);
}

void DiagHandlerClientRoutine::pxm_message(pxm_msg*& msg, size_t msgsize) {
  const auto* header = reinterpret_cast<const KvnObsSubMessageWithSubMsgNo*>(msg);
  TC_LOG_DEBUG(
      "Received DiagHandlerClientRoutineMessage[srcRoutine=%u, destRoutineId=%u, submsgno=%u]\n",
      header->srcRoutineId, header->dstRoutineId, header->submsgno);
  switch (header->submsgno) {
    case kHello:
      hello(msg, msgsize);
      break;
    case kMailboxLost:
      lost();
      break;
    default:
      TC_LOG_ERROR("DiagHandler can not handle submsgno %d", header->submsgno);
      break;
  }
}

void DiagHandlerClientRoutine::hello(pxm_msg* msg, size_t msgsize) {
  TC_LOG_INFO("DiagHandler connected");
  auto* helloMsg = reinterpret_cast<KvnDiagHandlerHelloS*>(msg);
  KvnDiagHandlerHelloS::toHost(helloMsg, msgsize);
  const uint16_t peerRoutine = helloMsg->header.srcRoutineId;

  TraceControllerContext& context = TraceControllerContext::get();
  context.diagHandlerMailbox = sender(msg);
  context.tsiProxy = std::make_shared<TsiProxy>(getRoutineTable(), context.diagHandlerMailbox,
                                                kTsiProxyRoutine, lostEvent_.getId());

  // Delivered to this routine when the diag handler's mailbox dies. A hello while connected
  // adds a watch and leaves the old one.
  pxm_msg* lostMsg = alloc_msg(sizeof(KvnObsSubMessageWithSubMsgNo));
  auto* lostHeader = reinterpret_cast<KvnObsSubMessageWithSubMsgNo*>(lostMsg);
  lostHeader->dstRoutineId = static_cast<uint16_t>(getRoutineId());
  lostHeader->srcRoutineId = 0;
  lostHeader->submsgno = kMailboxLost;
  kvnObsSwapHeader(lostHeader);
  monitorRef = monitor(context.diagHandlerMailbox, lostMsg);

  const std::string& name = context.instanceName;
  const size_t size = KvnDiagHandlerHelloReplyS::sizeFor(name.size());
  pxm_msg* replyMsg = alloc_msg(size);
  auto* reply = reinterpret_cast<KvnDiagHandlerHelloReplyS*>(replyMsg);
  memset(reinterpret_cast<char*>(reply) + sizeof(KvnObsSubMessageWithSubMsgNo), 0,
         size - sizeof(KvnObsSubMessageWithSubMsgNo));
  reply->two = 2;
  reply->zero = 0;
  reply->nameLength = static_cast<uint16_t>(name.size());
  memcpy(reply->instanceName, name.data(), name.size());
  KvnDiagHandlerHelloReplyS::toNetwork(reply, size);
  sendObs(replyMsg, context.diagHandlerMailbox, static_cast<uint16_t>(getRoutineId()), peerRoutine,
          kHelloReply);
}

void DiagHandlerClientRoutine::lost() {
  TC_LOG_INFO("DiagHandler disconnected");
  TraceControllerContext& context = TraceControllerContext::get();
  monitorRef = kNoMonitor;
  context.diagHandlerMailbox = static_cast<uint32_t>(-1);
  context.tsiProxy.reset();
  // Waiting proxies go; the transport sessions in their UDP step fail it.
  getRoutineTable()->sendEvent(lostEvent_.getId());
}

}  // namespace kvn
