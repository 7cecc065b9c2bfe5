#pragma once
// Request stubs for the peers of the service. A peer's protocol is a compile-time chain:
//
//   using DspLoadProxy =
//       ProxyCfm<StartReq, StartCfm, 0, 1,
//                ProxyCfm<StopReq, StopCfm, 2, 3, TemplateBaseProxy>>;
//
// so that a proxy has exactly one `send` per signal its peer takes, and the sub-message numbers
// are constants. A send with an answer makes a short-lived routine that waits for it; the routine
// calls the functor at the first answer and goes, or goes silently when the peer's lost event
// comes. A proxy keeps nothing between calls and may be copied and shared freely.
//
// Every signal record `T` provides `static std::string name()`, `static void toNetwork(T*, size_t)`
// and `static void toHost(T*, size_t)`; the size is that of the whole message, so that a
// conversion never reaches past it.
//
// `send` always takes the message over, also when it throws (a full routine table).

#include <stddef.h>
#include <stdint.h>

#include <functional>
#include <memory>
#include <utility>

#include "base/check.h"
#include "base/kvn_obs_sub_message_with_sub_msg_no.h"
#include "pxm/pxm.h"
#include "tracing/log.h"
#include "util/mainloop/event_id.h"
#include "util/mainloop/routine.h"
#include "util/mainloop/routine_table.h"
#include "util/mainloop/unsent_message.h"

namespace kvntrace {

// The callback of every answer: the message (set it to null to keep it) and its size.
template <typename T>
using ProxyFunctor = std::function<void(T*&, size_t)>;

namespace detail {

// An out-of-line test, so that checking `this` is neither warned about nor folded away.
bool isNonNull(const void* p);

template <typename T>
pxm_msg* asPxm(T* msg) {
  return reinterpret_cast<pxm_msg*>(msg);
}

}  // namespace detail

// The end of every chain: where the peer is.
class TemplateBaseProxy {
 public:
  TemplateBaseProxy(kvn::RoutineTable* routineTable, pxm_mbox_id_t mailbox, uint16_t routineId,
                    EventId lostEvent)
      : routineTable(routineTable), mailbox(mailbox), routineId(routineId), lostEvent(lostEvent) {}

  // A routine-addressed message of `size` bytes, header included, allocated from a temporary
  // routine of this proxy. The body is filled in host order and handed to `send`.
  pxm_msg* alloc_msg(size_t size);
  // The same, typed as the request `T` it is to carry.
  template <typename T>
  T* make() {
    return reinterpret_cast<T*>(alloc_msg(sizeof(T)));
  }

  // No signal of its own; the chain adds them.
  void send() = delete;

  kvn::RoutineTable* getRoutineTable() const { return routineTable; }
  pxm_mbox_id_t getMailbox() const { return mailbox; }
  uint16_t getRoutineId() const { return routineId; }
  EventId getLostEvent() const { return lostEvent; }

 protected:
  // Sends a message that has no answer, from a temporary routine.
  void sendIndication(pxm_msg*& msg, uint16_t submsgno);

  // Sends request `msg` from `routine`, which waits for its answer; a request that cannot be
  // sent is freed.
  template <typename ReqT>
  void sendRequest(ReqT* msg, const std::shared_ptr<kvn::Routine>& routine, uint16_t submsgno) {
    kvn::UnsentMessage unsent(detail::asPxm(msg));
    const uint16_t id = routineTable->allocate(routine);
    CPMUTIL_LOG_DEBUG("Sending signal %s", ReqT::name().c_str());
    pxm_msg* m = unsent.release();
    ReqT::toNetwork(msg, kvn::RoutineTable::s_pxmsys->size(m));
    routine->sendObs(m, mailbox, id, routineId, submsgno);
  }

  kvn::RoutineTable* routineTable;
  pxm_mbox_id_t mailbox;
  uint16_t routineId;
  EventId lostEvent;
};

// The end of a chain for a link where the peer spoke first: messages without an answer go out
// under the number of a routine that already exists, so no temporary routine is needed.
class ProxyReceiverBase : public TemplateBaseProxy {
 public:
  ProxyReceiverBase(kvn::RoutineTable* routineTable, pxm_mbox_id_t mailbox, uint16_t routineId,
                    EventId lostEvent, kvn::Routine& owner)
      : TemplateBaseProxy(routineTable, mailbox, routineId, lostEvent), owner(owner) {}

  pxm_msg* alloc_msg(size_t size) { return owner.alloc_msg(size); }
  template <typename T>
  T* make() {
    return reinterpret_cast<T*>(alloc_msg(sizeof(T)));
  }

 protected:
  void sendIndication(pxm_msg*& msg, uint16_t submsgno);

  kvn::Routine& owner;
};

// Waits for one confirm.
template <typename CfmT, uint16_t cfmSubSigNo>
class ProxyCfmRoutine : public kvn::Routine {
 public:
  ProxyCfmRoutine(ProxyFunctor<CfmT> onCfm, EventId lostEvent) : onCfm(std::move(onCfm)) {
    subscribeEvent(lostEvent);
  }

  void pxm_message(pxm_msg*& msg, size_t msgsize) override {
    KVNTRACE_ASSERT(msgsize >= sizeof(KvnObsSubMessageWithSubMsgNo));
    CfmT* cfm_p = reinterpret_cast<CfmT*>(msg);
    KVNTRACE_ASSERT(cfm_p->header.submsgno == cfmSubSigNo);
    CPMUTIL_LOG_DEBUG("Received signal %s", CfmT::name().c_str());
    CfmT::toHost(cfm_p, msgsize);
    if (onCfm) onCfm(cfm_p, msgsize);
    msg = detail::asPxm(cfm_p);
    release();
  }

  // The peer is gone: the waiting session hears of it through its own subscription.
  void handleEvent(EventId) override { release(); }

 private:
  ProxyFunctor<CfmT> onCfm;
};

// Waits for a confirm or a reject, whichever comes first.
template <typename CfmT, typename RejT, uint16_t cfmSubSigNo, uint16_t rejSubSigNo>
class ProxyCfmRejRoutine : public kvn::Routine {
 public:
  ProxyCfmRejRoutine(ProxyFunctor<CfmT> onCfm, ProxyFunctor<RejT> onRej, EventId lostEvent)
      : onCfm(std::move(onCfm)), onRej(std::move(onRej)) {
    subscribeEvent(lostEvent);
  }

  void pxm_message(pxm_msg*& msg, size_t msgsize) override {
    KVNTRACE_ASSERT(msgsize >= sizeof(KvnObsSubMessageWithSubMsgNo));
    const KvnObsSubMessageWithSubMsgNo* header =
        reinterpret_cast<const KvnObsSubMessageWithSubMsgNo*>(msg);
    KVNTRACE_ASSERT(header->submsgno == cfmSubSigNo || header->submsgno == rejSubSigNo);
    // Checked in this order: where both directions share a number, the confirm wins.
    if (header->submsgno == cfmSubSigNo) {
      CfmT* cfm_p = reinterpret_cast<CfmT*>(msg);
      CPMUTIL_LOG_DEBUG("Received signal %s", CfmT::name().c_str());
      CfmT::toHost(cfm_p, msgsize);
      if (onCfm) onCfm(cfm_p, msgsize);
      msg = detail::asPxm(cfm_p);
    } else {
      RejT* rej_p = reinterpret_cast<RejT*>(msg);
      CPMUTIL_LOG_DEBUG("Received signal %s", RejT::name().c_str());
      RejT::toHost(rej_p, msgsize);
      if (onRej) onRej(rej_p, msgsize);
      msg = detail::asPxm(rej_p);
    }
    release();
  }

  void handleEvent(EventId) override { release(); }

 private:
  ProxyFunctor<CfmT> onCfm;
  ProxyFunctor<RejT> onRej;
};

// A request answered by one confirm.
template <typename ReqT, typename CfmT, uint16_t reqSubSigNo, uint16_t cfmSubSigNo,
          typename SuperProxyT>
class ProxyCfm : public SuperProxyT {
 public:
  using SuperProxyT::send;
  using SuperProxyT::SuperProxyT;

  void send(ReqT* msg, ProxyFunctor<CfmT> onCfm) {
    KVNTRACE_ASSERT_TEXT(detail::isNonNull(this), "this != nullptr");
    auto routine =
        std::make_shared<ProxyCfmRoutine<CfmT, cfmSubSigNo>>(std::move(onCfm), this->lostEvent);
    this->sendRequest(msg, routine, reqSubSigNo);
  }
};

// A request answered by a confirm or a reject.
template <typename ReqT, typename CfmT, typename RejT, uint16_t reqSubSigNo, uint16_t cfmSubSigNo,
          uint16_t rejSubSigNo, typename SuperProxyT>
class ProxyCfmRej : public SuperProxyT {
 public:
  using SuperProxyT::send;
  using SuperProxyT::SuperProxyT;

  void send(ReqT* msg, ProxyFunctor<CfmT> onCfm, ProxyFunctor<RejT> onRej) {
    KVNTRACE_ASSERT_TEXT(detail::isNonNull(this), "this != nullptr");
    auto routine = std::make_shared<ProxyCfmRejRoutine<CfmT, RejT, cfmSubSigNo, rejSubSigNo>>(
        std::move(onCfm), std::move(onRej), this->lostEvent);
    this->sendRequest(msg, routine, reqSubSigNo);
  }
};

// A signal without an answer. An answer would find no routine: indications are for signals
// that have none.
template <typename IndT, uint16_t indSubSigNo, typename SuperProxyT>
class ProxyInd : public SuperProxyT {
 public:
  using SuperProxyT::send;
  using SuperProxyT::SuperProxyT;

  void send(IndT* msg) {
    KVNTRACE_ASSERT_TEXT(detail::isNonNull(this), "this != nullptr");
    CPMUTIL_LOG_DEBUG("Sending signal %s", IndT::name().c_str());
    pxm_msg* m = detail::asPxm(msg);
    IndT::toNetwork(msg, kvn::RoutineTable::s_pxmsys->size(m));
    this->sendIndication(m, indSubSigNo);
  }
};

}  // namespace kvntrace
