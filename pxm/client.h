#pragma once
// A process's connection to its hub, and the mailboxes of the process's threads.
//
// There is no thread of the library's own. A thread that waits (for a message or for the
// answer to a request) and finds nobody reading the socket becomes the reader: it polls the
// socket without holding the lock, then sorts what came in into the inboxes of the threads
// and the slots of pending requests, and wakes the others. The service's one thread thus
// reads its own socket with no hand-over between threads; several threads take turns.
//
// Writes are blocking and whole frames, under a lock of their own, so that frames of several
// threads never interleave and a long write does not hold up the reader.

#include <sys/uio.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "pxm/frame_reader.h"
#include "pxm/message_block.h"
#include "pxm/pxm.h"

namespace pxm {

class Client {
 public:
  // Results of connect(), which pxm_init answers (PXM_INIT_*). A refusal comes with the
  // hub's reason in words in `refusal`.
  static int32_t connect(const char* nameSpace, std::shared_ptr<Client>* out, std::string* refusal);

  explicit Client(int fd);
  ~Client();
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  // Says goodbye (the hub drops the process's mailboxes before it answers) and ends the
  // connection; threads still waiting return.
  void shutdown();
  int fd() const { return fd_; }

  pxm_mbox_id_t createMailbox(const char* name);
  void deleteMailbox(pxm_mbox_id_t mbox);
  // The block is taken over in every case.
  void send(MessageBlock* block, pxm_mbox_id_t to, pxm_mbox_id_t from);
  // Null after the time-out. The message is the caller's to free.
  pxm_msg* receive(const uint32_t* filter, uint32_t timeoutMs, pxm_mbox_id_t from);
  pxm_mbox_id_t locate(const char* name);
  void locateAsync(const char* name, MessageBlock* block, pxm_mbox_id_t from);
  bool getName(pxm_mbox_id_t mbox, std::string* name);
  // `block` null asks for the library's own PXM_MBOX_GONE message.
  pxm_monitor_id_t monitor(pxm_mbox_id_t mbox, MessageBlock* block);
  void unmonitor(pxm_monitor_id_t monitor);

  // A name service request of `type` whose body, after the request tag, is `body`; the
  // answer's value and data. False when the connection failed or the hub did not answer
  // within `limit`.
  bool call(uint16_t type, const std::string& body, uint32_t* value, std::string* data,
            std::chrono::milliseconds limit);
  // `mbox` if it is a mailbox of this process, the calling thread's first for PXM_MY_MBOX,
  // else PXM_NO_MBOX (reported as a misuse of `function`).
  pxm_mbox_id_t ownMailbox(pxm_mbox_id_t mbox, const char* function) {
    return resolveFrom(mbox, function);
  }

 private:
  using Clock = std::chrono::steady_clock;
  using Deadline = std::optional<Clock::time_point>;  // none: no limit

  struct Inbox {
    std::vector<pxm_mbox_id_t> mailboxes;  // the first one is the thread's own for sending
    std::deque<MessageBlock*> queue;
  };
  struct MailboxInfo {
    std::thread::id owner;
    std::string name;
  };
  struct Pending {
    bool done = false;
    uint32_t value = 0;
    std::string data;
    // A create registers its mailbox as soon as the answer is read, before any message
    // for the new mailbox can be sorted.
    bool create = false;
    std::thread::id owner;
    std::string name;
  };

  // Sends a request frame of `type` whose body is `req` followed by `parts`, and waits for
  // its answer. False when the connection failed or the hub did not answer in time.
  bool request(uint16_t type, const iovec* parts, size_t count, Pending* answer,
               std::chrono::milliseconds limit);
  // A frame of `type` whose body is `parts`.
  bool writeFrame(uint16_t type, const iovec* parts, size_t count);
  // Whole frames, written as one piece.
  bool writeAll(iovec* iov, size_t count);
  // Waits for something to happen: reads the socket if nobody else does, else sleeps until
  // the reader has sorted what it read. Called and returns with `lock` held.
  void waitOnce(std::unique_lock<std::mutex>& lock, const Deadline& deadline);
  void readFrames();
  void sort(const FrameHeader& header, const char* body);
  void connectionLost(const char* why);
  // After a failed greeting: what the hub left in the socket, read for its refusal.
  void readRefusal();
  MessageBlock* take(Inbox& inbox, const uint32_t* filter, pxm_mbox_id_t from);
  // The calling thread's mailbox that a message goes out from, or PXM_NO_MBOX.
  pxm_mbox_id_t resolveFrom(pxm_mbox_id_t from, const char* function);

  const int fd_;
  std::mutex mu_;
  std::condition_variable cv_;
  std::mutex writeMu_;
  std::atomic<bool> broken_{false};
  bool greeted_ = false;  // until then a lost connection is pxm_init's result, not a line
  uint32_t refusal_ = 0;  // the hub's Refusal, 0 while none came
  std::string refusalText_;
  bool closed_ = false;
  bool reading_ = false;
  FrameReader reader_;  // used by the reading thread only
  uint32_t nextReq_ = 1;
  uint32_t nextMonitor_ = 1;
  std::unordered_map<std::thread::id, Inbox> inboxes_;
  std::unordered_map<pxm_mbox_id_t, MailboxInfo> mailboxes_;
  std::unordered_map<uint32_t, Pending> pending_;
};

// The process's client, null (reported as a misuse of `function`) before pxm_init.
std::shared_ptr<Client> currentClient(const char* function);

}  // namespace pxm
