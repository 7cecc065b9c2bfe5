#include "util/mainloop/pxm_mainloop.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

#include "tracing/log.h"

namespace {
// An idle service wakes once a second, no more, to look at its stop flag.
constexpr std::chrono::milliseconds kMaxWait{1000};
}  // namespace

PxmMainloop::PxmMainloop(hkm::PXMInterface* pxm, const std::string& mailboxName,
                         TimerQueueInterface* timers)
    : pxm_(pxm), timers_(timers), mailbox_(pxm->create_mailbox(mailboxName.c_str(), 0)) {}

PxmMainloop::~PxmMainloop() { pxm_->delete_mailbox(mailbox_); }

void PxmMainloop::setDispatcher(uint32_t msgno, Dispatcher dispatcher) {
  dispatchers_.emplace(msgno, std::move(dispatcher));
}

void PxmMainloop::setDefaultDispatcher(Dispatcher dispatcher) {
  defaultDispatcher_ = std::move(dispatcher);
}

void PxmMainloop::monitorMailbox(pxm_mbox_id_t mailboxId) {
  if (monitors_.count(mailboxId) != 0) return;
  pxm_msg* none = nullptr;
  monitors_[mailboxId] = pxm_->monitor(mailboxId, none);
}

void PxmMainloop::unmonitorMailbox(pxm_mbox_id_t mailboxId) {
  auto it = monitors_.find(mailboxId);
  if (it == monitors_.end()) return;
  pxm_->unmonitor(it->second);
  monitors_.erase(it);
}

void PxmMainloop::run() {
  stop_ = false;
  CPMUTIL_LOG_DEBUG("Mainloop starting");
  while (!stop_) {
    if (betweenMessages_) betweenMessages_();
    timers_->processExpired();
    const auto wait = std::min(timers_->timeUntilNext(std::chrono::milliseconds(0)), kMaxWait);
    pxm_msg* msg = pxm_->receive(nullptr, static_cast<uint32_t>(std::max<int64_t>(wait.count(), 0)),
                                 PXM_FROM_ALL);
    if (msg == nullptr) continue;
    const size_t size = pxm_->size(msg);
    const pxm_mbox_id_t sender = pxm_->sender(msg);
    try {
      auto it = dispatchers_.find(msg->msgno);
      if (it != dispatchers_.end()) {
        it->second(sender, msg, size);
      } else if (defaultDispatcher_) {
        defaultDispatcher_(sender, msg, size);
      } else {
        CPMUTIL_LOG_ERROR("*** No dispatcher for signal %d\n", static_cast<int>(msg->msgno));
      }
    } catch (const std::exception& e) {
      CPMUTIL_LOG_INFO("Caught exception %s", e.what());
    }
    if (msg != nullptr) pxm_->free(msg);
  }
}
