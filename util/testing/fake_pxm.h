#pragma once
// An in-process mailbox library for unit tests: mailboxes are queues, nothing blocks, and every
// message is tracked so that a test can assert that none leaked.
//
//   kvn::testing::FakePxm pxm;
//   TimerQueue timers;
//   PxmMainloop loop(&pxm, "svc", &timers);          // becomes pxm.own()
//   kvn::RoutineTable table(&pxm, kBaseSignal);
//   auto peer = pxm.createPeer("front end");
//   pxm.injectObs(peer, /*dst*/ 1, /*src*/ 7, /*submsgno*/ 3, body);
//   pxm.runUntilIdle(loop);
//   auto out = pxm.popSent(peer);                     // header in host order, body as sent
//   EXPECT_EQ(pxm.leakedMessages(), 0u);

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/kvn_obs_sub_message_with_sub_msg_no.h"
#include "util/mailbox/hkm_pxm_interface.h"

class PxmMainloop;

namespace kvn::testing {

class FakePxm : public hkm::PXMInterface {
 public:
  static constexpr uint32_t kBaseSignalNo = kKvnObsSignalNo;

  // A message popped from a mailbox: copied out and freed, so the test owns nothing.
  struct Sent {
    uint32_t msgno = 0;
    size_t size = 0;
    // Header fields in host order (read only when the message is at least 12 bytes).
    uint16_t dstRoutineId = 0;
    uint16_t srcRoutineId = 0;
    uint16_t submsgno = 0;
    std::vector<uint8_t> bytes;  // the whole message
    std::vector<uint8_t> body;   // the bytes after the 12-byte header

    // Big-endian fields of the body, by offset from the start of the message.
    uint8_t u8(size_t offset) const;
    uint16_t be16(size_t offset) const;
    uint32_t be32(size_t offset) const;
    std::string text(size_t offset, size_t length) const;
  };

  ~FakePxm() override;  // frees whatever is still queued or held

  // --- hkm::PXMInterface ---
  void free(pxm_msg*& msg) override;
  pxm_msg* alloc(size_t size, uint32_t msgno) override;
  pxm_mbox_id_t sender(pxm_msg* msg) override;
  pxm_mbox_id_t receiver(pxm_msg* msg) override;
  size_t size(pxm_msg* msg) override;
  bool setsize(pxm_msg* msg, size_t size) override;
  // Aborts: nothing that runs on the fake locates asynchronously.
  void locate_async(const char* name, pxm_msg** msg, pxm_mbox_id_t from) override;
  pxm_mbox_id_t locate(const char* name) override;
  bool get_name(pxm_mbox_id_t mbox, char* buffer, uint32_t size) override;
  pxm_msg* receive(const uint32_t* filter, uint32_t timeoutMs, pxm_mbox_id_t from) override;
  void send(pxm_msg*& msg, pxm_mbox_id_t to, pxm_mbox_id_t from) override;
  // The first mailbox created through the interface becomes own(); -1 for a name in use.
  pxm_mbox_id_t create_mailbox(const char* name, uint32_t flags) override;
  void delete_mailbox(pxm_mbox_id_t mbox) override;
  pxm_monitor_id_t monitor(pxm_mbox_id_t mbox, pxm_msg*& msg) override;
  void unmonitor(pxm_monitor_id_t ref) override;

  // --- for tests ---
  pxm_mbox_id_t own() const { return own_; }
  // A mailbox of another process; messages sent to it wait for popSent().
  pxm_mbox_id_t createPeer(const std::string& name);
  // The mailbox dies: what is queued there is freed and its monitors fire.
  void kill(pxm_mbox_id_t mbox);

  // Queues a routine-addressed message for own() as if `from` had sent it. Header fields are
  // given in host order and written big-endian; the body goes as it is.
  void injectObs(pxm_mbox_id_t from, uint16_t dstRoutineId, uint16_t srcRoutineId,
                 uint16_t submsgno, const std::vector<uint8_t>& body = {},
                 uint32_t msgno = kBaseSignalNo);
  // Queues any message for own(); takes it over.
  void inject(pxm_msg*& msg, pxm_mbox_id_t from);

  // The oldest message waiting in `mbox`, or nothing.
  std::optional<Sent> popSent(pxm_mbox_id_t mbox);
  size_t queued(pxm_mbox_id_t mbox) const;

  // Runs the loop until own() has nothing more to receive.
  void runUntilIdle(PxmMainloop& loop);
  // Called by receive() when own() is empty, before it returns null.
  void setIdleHook(std::function<void()> hook) { idleHook_ = std::move(hook); }
  // The time-out of every receive() call so far.
  const std::vector<uint32_t>& receiveTimeouts() const { return receiveTimeouts_; }

  // Messages allocated and not freed, outside any queue and any monitor: held by the code
  // under test, or lost.
  size_t leakedMessages() const;
  size_t monitorCount() const { return monitors_.size(); }
  // pxm_free of a message that is not live (double free, foreign pointer).
  int badFrees() const { return badFrees_; }

 private:
  struct Mailbox {
    std::string name;
    bool alive = true;
    std::deque<pxm_msg*> queue;
  };
  struct Monitor {
    pxm_mbox_id_t watched;
    pxm_mbox_id_t watcher;
    pxm_msg* msg;  // null: the library's own message is sent
  };

  pxm_mbox_id_t newMailbox(const std::string& name);
  void deliver(pxm_msg* msg, pxm_mbox_id_t to, pxm_mbox_id_t from);
  bool isLive(pxm_msg* msg) const { return live_.count(msg) != 0; }

  pxm_mbox_id_t nextMbox_ = 0x10001;
  pxm_monitor_id_t nextMonitor_ = 1;
  pxm_mbox_id_t own_ = PXM_NO_MBOX;
  std::map<pxm_mbox_id_t, Mailbox> mailboxes_;
  std::map<pxm_monitor_id_t, Monitor> monitors_;
  std::set<pxm_msg*> live_;
  std::function<void()> idleHook_;
  std::vector<uint32_t> receiveTimeouts_;
  int badFrees_ = 0;
};

}  // namespace kvn::testing
