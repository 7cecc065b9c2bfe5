#pragma once
// The pxmd hub: one thread, one epoll loop over the listening socket, a stop descriptor and
// every attached process. Each round serves every process that is ready, with one recv of a
// bounded share of the round's bytes, so no peer can starve the rest;
// writes go through each peer's OutQueue, so a slow reader delays only itself. A peer that
// breaks the protocol or dies in the middle of a frame is cut off, and its mailboxes die as if
// the process had ended. So is one that goes beyond its HubLimits, after a kError frame that
// says which: the hub keeps its socket a little longer, until that frame is out.
//
// The hub as a whole keeps within a budget of memory: the bytes it has read and not yet
// routed plus the bytes queued for every process. When a process would take it past that,
// the process that holds the most of it (a sender with a large frame still incomplete, or a
// reader that does not read its mailbox) is cut off; one that reads its mailbox holds little,
// and is not. Connections are limited per user and in all, and a connection that says no
// hello in time, or stops in the middle of a frame, is closed. Every refusal and cut-off is
// logged with the pid, the uid and the reason, at most a burst of lines per window. Memory
// given up in bulk, by processes gone or cut off, goes back to the system a slice per round.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "pxm/frame.h"
#include "pxm/hub_connection.h"
#include "pxm/log_limiter.h"
#include "pxm/mailbox_directory.h"
#include "pxm/name_server.h"
#include "pxm/peer_access.h"
#include "pxm/reclaimer.h"

namespace pxm {

struct HubLimits {
  // What the hub holds for one process at most.
  size_t monitors = 16384;          // monitors set and not yet fired
  size_t pendingLocates = 4096;     // asynchronous locates waiting for their name
  size_t queuedBytes = 256u << 20;  // bytes waiting for a process that does not read them
  // For all processes together.
  size_t budgetBytes = 512u << 20;  // read and not yet routed, plus queued
  size_t connectionsPerUser = 64;
  size_t connections = 256;
  // A frame begun and then nothing for this long; no hello within this long.
  std::chrono::milliseconds stallTime{10000};
  std::chrono::milliseconds helloTime{3000};
};

class Hub {
 public:
  // How long a process cut off for a limit has to read its kError frame.
  static constexpr std::chrono::milliseconds kFarewellTime{2000};

  // Takes over `listenFd` (a listening Unix socket). The loop ends when `stopFd` becomes
  // readable; the caller keeps that one.
  Hub(int listenFd, int stopFd, HubLimits limits, PeerAccess access);
  ~Hub();
  Hub(const Hub&) = delete;
  Hub& operator=(const Hub&) = delete;

  // 0 after a stop, non-zero when the loop itself failed.
  int run();

 private:
  using Clock = std::chrono::steady_clock;

  // Takes the callers waiting, up to a number per round.
  void acceptAll();
  void refuse(int fd, const ucred& cred, Refusal reason, const std::string& why);
  // A line about a refusal or cut-off, unless too many came lately.
  void logLimited(const char* format, ...) __attribute__((format(printf, 2, 3)));
  // Brings the budget's count for `conn` up to date.
  void settle(HubConnection& conn);
  // `conn` has much waiting for it: if it reads, but has been behind for a while, the
  // sender with the most of that is cut off.
  void behind(HubConnection& conn);
  // Whether `conn`, with much waiting for it, still reads.
  bool readsLately(const HubConnection& conn) const;
  // Cuts off the sender with the most waiting for `reader` and drops those frames; false
  // when there is none.
  bool cutFeeder(HubConnection& reader);
  // Cuts off the largest holders until `bytes` more fit the budget.
  void makeRoom(size_t bytes);
  // Closes connections past their time limits; gives idle read buffers back.
  void sweep(Clock::time_point now);
  int waitMs(Clock::time_point now) const;
  // Reads at most `share` bytes of `conn` and handles the frames that are whole.
  void onReadable(HubConnection& conn, size_t share);
  bool handleFrame(HubConnection& conn, const FrameHeader& header, const char* body);
  void reply(HubConnection& conn, uint32_t req, uint32_t value, const void* data = nullptr,
             size_t size = 0);
  void enqueue(HubConnection& conn, std::vector<char>&& frame);
  void deliver(MailboxDirectory::ConnId to, std::vector<char>&& frame);
  void cutOff(HubConnection& conn, const char* why);
  // Cuts off a process that went beyond a limit, telling it why; false, to stop its frames.
  bool overLimit(HubConnection& conn, const std::string& why);
  // A connection cut off with a kError frame stays until the process has closed its end (or
  // kFarewellTime is over): the frame is written, and what still comes in is dropped.
  void linger(std::unique_ptr<HubConnection> conn);
  void serveLingering(uint64_t key, uint32_t events);
  void expireLingering();
  void forget(std::unique_ptr<HubConnection> conn);
  void flushDirty();
  void closeDoomed();
  void watchWrites(HubConnection& conn, bool on);

  int epoll_ = -1;
  int listen_ = -1;
  int stop_ = -1;
  int spare_ = -1;  // kept free so that a full descriptor table can still shed a caller
  uint64_t nextConn_;
  Reclaimer reclaimer_;  // before the connections, which give it their buffers
  std::unordered_map<uint64_t, std::unique_ptr<HubConnection>> conns_;
  std::vector<uint64_t> dirty_;
  std::vector<uint64_t> doomed_;
  MailboxDirectory directory_;
  NameServer names_;  // after the directory, which it reads
  HubLimits limits_;
  PeerAccess access_;
  size_t total_ = 0;      // bytes held against the budget
  size_t freed_ = 0;      // bytes given back since the heap was last trimmed
  uint64_t reading_ = 0;  // the connection whose frames are being handled, if any
  std::unordered_map<uid_t, size_t> perUser_;
  bool sweepWanted_ = false;
  Clock::time_point nextSweep_{};
  LogLimiter logLimiter_;
  struct Lingering {
    std::unique_ptr<HubConnection> conn;
    std::chrono::steady_clock::time_point deadline;
  };
  std::unordered_map<uint64_t, Lingering> lingering_;
};

}  // namespace pxm
