#pragma once
// The pxmd hub: one thread, one epoll loop over the listening socket, a stop descriptor and
// every attached process. Reads are one recv per readiness, so no peer can starve the rest;
// writes go through each peer's OutQueue, so a slow reader delays only itself. A peer that
// breaks the protocol or dies in the middle of a frame is cut off, and its mailboxes die as if
// the process had ended. So is one that goes beyond its HubLimits, after a kError frame that
// says which: the hub keeps its socket a little longer, until that frame is out.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "pxm/frame.h"
#include "pxm/hub_connection.h"
#include "pxm/mailbox_directory.h"
#include "pxm/name_server.h"

namespace pxm {

// What the hub holds for one process at most.
struct HubLimits {
  size_t monitors = 16384;          // monitors set and not yet fired
  size_t pendingLocates = 4096;     // asynchronous locates waiting for their name
  size_t queuedBytes = 256u << 20;  // bytes waiting for a process that does not read them
};

class Hub {
 public:
  // How long a process cut off for a limit has to read its kError frame.
  static constexpr std::chrono::milliseconds kFarewellTime{2000};

  // Takes over `listenFd` (a listening Unix socket). The loop ends when `stopFd` becomes
  // readable; the caller keeps that one.
  Hub(int listenFd, int stopFd, HubLimits limits = HubLimits());
  ~Hub();
  Hub(const Hub&) = delete;
  Hub& operator=(const Hub&) = delete;

  // 0 after a stop, non-zero when the loop itself failed.
  int run();

 private:
  void acceptAll();
  void onReadable(HubConnection& conn);
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
  void flushDirty();
  void closeDoomed();
  void watchWrites(HubConnection& conn, bool on);

  int epoll_ = -1;
  int listen_ = -1;
  int stop_ = -1;
  int spare_ = -1;  // kept free so that a full descriptor table can still shed a caller
  uint64_t nextConn_;
  std::unordered_map<uint64_t, std::unique_ptr<HubConnection>> conns_;
  std::vector<uint64_t> dirty_;
  std::vector<uint64_t> doomed_;
  MailboxDirectory directory_;
  NameServer names_;  // after the directory, which it reads
  HubLimits limits_;
  struct Lingering {
    std::unique_ptr<HubConnection> conn;
    std::chrono::steady_clock::time_point deadline;
  };
  std::unordered_map<uint64_t, Lingering> lingering_;
};

}  // namespace pxm
