#pragma once
// The pxmd hub: one thread, one epoll loop over the listening socket, a stop descriptor and
// every attached process. Reads are one recv per readiness, so no peer can starve the rest;
// writes go through each peer's OutQueue, so a slow reader delays only itself. A peer that
// breaks the protocol, dies in the middle of a frame or lets its backlog grow past
// kMaxBacklog is cut off, and its mailboxes die as if the process had ended.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "pxm/frame.h"
#include "pxm/hub_connection.h"
#include "pxm/mailbox_directory.h"
#include "pxm/name_server.h"

namespace pxm {

class Hub {
 public:
  static constexpr size_t kMaxBacklog = 256u << 20;

  // Takes over `listenFd` (a listening Unix socket). The loop ends when `stopFd` becomes
  // readable; the caller keeps that one.
  Hub(int listenFd, int stopFd);
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
};

}  // namespace pxm
