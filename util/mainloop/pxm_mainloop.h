#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <string>
#include <utility>

#include "util/mailbox/hkm_pxm_interface.h"
#include "util/mainloop/timer_queue_interface.h"

// The one loop of the service: receive a message, hand it to the dispatcher of its number,
// free it. Owns the service's mailbox.
class PxmMainloop {
 public:
  // A dispatcher may take the message over by setting `msg` to null; the loop then leaves it.
  using Dispatcher = std::function<void(pxm_mbox_id_t sender, pxm_msg*& msg, size_t size)>;

  // Creates the mailbox; throws hkm::PXMException when the name cannot be had.
  PxmMainloop(hkm::PXMInterface* pxm, const std::string& mailboxName, TimerQueueInterface* timers);
  ~PxmMainloop();
  PxmMainloop(const PxmMainloop&) = delete;
  PxmMainloop& operator=(const PxmMainloop&) = delete;

  // The first dispatcher of a number stays.
  void setDispatcher(uint32_t msgno, Dispatcher dispatcher);
  void setDefaultDispatcher(Dispatcher dispatcher);
  // Runs at the top of every round, before the timers: where the work that a signal handler
  // only flagged gets done. The receive waits a second at most, so it runs that often at least.
  void setBetweenMessages(std::function<void()> hook) { betweenMessages_ = std::move(hook); }

  void monitorMailbox(pxm_mbox_id_t mailboxId);
  void unmonitorMailbox(pxm_mbox_id_t mailboxId);

  pxm_mbox_id_t getMailbox() const { return mailbox_; }

  // Safe from a signal handler: the loop looks at the flag between messages.
  void stopLoop() { stop_ = true; }

  void run();

 private:
  static_assert(std::atomic<bool>::is_always_lock_free, "stop is written by a signal handler");

  hkm::PXMInterface* pxm_;
  TimerQueueInterface* timers_;
  std::map<pxm_mbox_id_t, pxm_monitor_id_t> monitors_;
  std::map<uint32_t, Dispatcher> dispatchers_;
  Dispatcher defaultDispatcher_;
  std::function<void()> betweenMessages_;
  std::atomic<bool> stop_{false};
  pxm_mbox_id_t mailbox_;
};
