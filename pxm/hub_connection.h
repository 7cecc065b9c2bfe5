#pragma once
// One process attached to the hub: its socket, what it has sent in part, and what waits to be
// written to it. The hub owns these; a connection owns its socket.

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <cstdint>

#include "pxm/frame_reader.h"
#include "pxm/out_queue.h"
#include "pxm/reclaimer.h"

namespace pxm {

class HubConnection {
 public:
  using Clock = std::chrono::steady_clock;

  // What its buffers give up goes to `reclaimer`.
  HubConnection(uint64_t id, int fd, pid_t pid, uid_t uid, Clock::time_point now,
                Reclaimer* reclaimer);
  ~HubConnection();
  HubConnection(const HubConnection&) = delete;
  HubConnection& operator=(const HubConnection&) = delete;

  uint64_t id() const { return id_; }
  int fd() const { return fd_; }
  pid_t pid() const { return pid_; }
  uid_t uid() const { return uid_; }
  Clock::time_point since() const { return since_; }

  // When bytes last came, for the stall of a frame sent in part.
  Clock::time_point lastRead() const { return lastRead_; }
  void setLastRead(Clock::time_point t) { lastRead_ = t; }

  // Since when the queue has been long (none: it is not).
  Clock::time_point behindSince() const { return behindSince_; }
  void setBehindSince(Clock::time_point t) {
    behindSince_ = t;
    drainedBehind_ = 0;
  }
  // Bytes its socket took since behindSince.
  size_t drainedBehind() const { return drainedBehind_; }
  void addDrained(size_t bytes) { drainedBehind_ += bytes; }

  // What the hub counts against its budget for this process, as last settled.
  size_t accounted() const { return accounted_; }
  void setAccounted(size_t bytes) { accounted_ = bytes; }
  size_t holds() const { return reader_.held() + out_.bytes(); }

  FrameReader& reader() { return reader_; }
  OutQueue& out() { return out_; }
  const OutQueue& out() const { return out_; }

  // The first frame must be a hello; nothing else is taken before it.
  bool greeted() const { return greeted_; }
  void setGreeted() { greeted_ = true; }

  // A connection found broken while frames were being routed is closed only after the
  // routing, so that nothing is torn down under the hub's feet.
  bool doomed() const { return doomed_; }
  void doom() { doomed_ = true; }

  // Cut off with a kError frame that is still to be written.
  bool farewell() const { return farewell_; }
  void setFarewell() { farewell_ = true; }

  // Whether the hub asked epoll to say when the socket is writable.
  bool wantsWrite() const { return wantsWrite_; }
  void setWantsWrite(bool on) { wantsWrite_ = on; }

  // Whether frames were queued since the last flush.
  bool dirty() const { return dirty_; }
  void setDirty(bool on) { dirty_ = on; }

 private:
  const uint64_t id_;
  const int fd_;
  const pid_t pid_;
  const uid_t uid_;
  const Clock::time_point since_;
  Clock::time_point lastRead_;
  Clock::time_point behindSince_{};
  size_t drainedBehind_ = 0;
  size_t accounted_ = 0;
  FrameReader reader_;
  OutQueue out_;
  bool greeted_ = false;
  bool doomed_ = false;
  bool farewell_ = false;
  bool wantsWrite_ = false;
  bool dirty_ = false;
};

}  // namespace pxm
