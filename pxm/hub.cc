#include "pxm/hub.h"

#include <fcntl.h>
#include <malloc.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "tracing/log.h"

namespace pxm {

namespace {

constexpr uint64_t kListenKey = 1;
constexpr uint64_t kStopKey = 2;
constexpr uint64_t kFirstConn = 16;
constexpr size_t kMinEvents = 64;
// What one round of the loop reads from all processes together, shared out among those ready
// (each gets at least kMinShare): however many feed the hub, a round stays short and every
// process ready in it is served in it.
constexpr size_t kRoundBytes = 512u << 10;
constexpr size_t kMinShare = 1024;
// Callers taken per round; the rest wait for the next, after the processes already attached.
constexpr size_t kAcceptsPerRound = 64;
// Memory given up that goes back to the system per round.
constexpr size_t kReleasePerRound = 16u << 20;
// At most this many lines about refusals and cut-offs per window.
constexpr size_t kLogBurst = 20;
constexpr std::chrono::seconds kLogWindow{10};
constexpr std::chrono::milliseconds kSweepEvery{1000};
// A process that reads, but has had more than kBacklog waiting for it for kBehindTime, is
// fed faster than it reads: the sender with the most of that is cut off, and its frames
// there dropped, so that what others send it is not stuck behind a flood.
constexpr size_t kBacklog = 1u << 20;
constexpr std::chrono::milliseconds kBehindTime{500};
// More than a socket's buffer takes from the hub while nobody reads it.
constexpr size_t kReadProof = 512u << 10;
// Bytes given back by processes after which the heap is trimmed.
constexpr size_t kTrimAfter = 256u << 10;
// A process cut off in the middle of a frame larger than this left to write gets no farewell:
// its socket closes at once rather than hold the rest for it.
constexpr size_t kFarewellRoom = 1u << 20;

std::string seconds(std::chrono::milliseconds t) {
  char text[32];
  std::snprintf(text, sizeof text, "%g s", static_cast<double>(t.count()) / 1000.0);
  return text;
}

const char* describe(FrameReader::Status status) {
  switch (status) {
    case FrameReader::Status::kTruncated:
      return "ended in the middle of a frame";
    case FrameReader::Status::kMalformed:
      return "sent a malformed or oversized frame";
    case FrameReader::Status::kRejected:
      return "broke the protocol";
    case FrameReader::Status::kError:
      return "socket failed";
    case FrameReader::Status::kNoRoom:
      return "found no room";
    default:
      return "left";
  }
}

}  // namespace

Hub::Hub(int listenFd, int stopFd, HubLimits limits, PeerAccess access)
    : listen_(listenFd),
      stop_(stopFd),
      nextConn_(kFirstConn),
      directory_([this](MailboxDirectory::ConnId to, std::vector<char>&& frame) {
        deliver(to, std::move(frame));
      }),
      names_(directory_, [this](MailboxDirectory::ConnId to,
                                std::vector<char>&& frame) { deliver(to, std::move(frame)); }),
      limits_(limits),
      access_(std::move(access)),
      logLimiter_(kLogBurst, kLogWindow) {
  epoll_ = ::epoll_create1(EPOLL_CLOEXEC);
  spare_ = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
  epoll_event ev{};
  ev.events = EPOLLIN;
  ev.data.u64 = kListenKey;
  ::epoll_ctl(epoll_, EPOLL_CTL_ADD, listen_, &ev);
  ev.data.u64 = kStopKey;
  ::epoll_ctl(epoll_, EPOLL_CTL_ADD, stop_, &ev);
}

Hub::~Hub() {
  conns_.clear();
  lingering_.clear();
  if (spare_ >= 0) ::close(spare_);
  if (epoll_ >= 0) ::close(epoll_);
  ::close(listen_);
}

int Hub::run() {
  if (epoll_ < 0) {
    CPMUTIL_LOG_ERROR("pxmd: epoll_create1 failed: %s", strerror(errno));
    return 1;
  }
  std::vector<epoll_event> events(kMinEvents);
  bool stop = false;
  while (!stop) {
    // Room for every descriptor that can be ready, so that none waits for a later round.
    events.resize(std::max(events.size(), conns_.size() + lingering_.size() + 2));
    const int n =
        ::epoll_wait(epoll_, events.data(), static_cast<int>(events.size()), waitMs(Clock::now()));
    if (n < 0) {
      if (errno == EINTR) continue;
      CPMUTIL_LOG_ERROR("pxmd: epoll_wait failed: %s", strerror(errno));
      return 1;
    }
    size_t readers = 0;
    for (int i = 0; i < n; ++i)
      readers += events[i].data.u64 >= kFirstConn && (events[i].events & ~EPOLLOUT) != 0;
    const size_t share =
        std::clamp(kRoundBytes / std::max<size_t>(readers, 1), kMinShare, FrameReader::kChunk);
    for (int i = 0; i < n; ++i) {
      const uint64_t key = events[i].data.u64;
      if (key == kListenKey) {
        acceptAll();
        continue;
      }
      if (key == kStopKey) {
        stop = true;
        continue;
      }
      if (lingering_.count(key)) {
        serveLingering(key, events[i].events);
        continue;
      }
      auto it = conns_.find(key);
      if (it == conns_.end() || it->second->doomed()) continue;
      HubConnection& conn = *it->second;
      if (events[i].events & EPOLLOUT) {
        if (!conn.dirty()) dirty_.push_back(conn.id());
        conn.setDirty(true);
      }
      if (events[i].events & (EPOLLIN | EPOLLHUP | EPOLLERR)) onReadable(conn, share);
    }
    flushDirty();
    closeDoomed();
    expireLingering();
    if (!reclaimer_.empty()) {
      freed_ += reclaimer_.release(kReleasePerRound);
      sweepWanted_ = true;  // to trim the heap afterwards
    }
    const Clock::time_point now = Clock::now();
    if (sweepWanted_ && now >= nextSweep_) {
      sweep(now);
      closeDoomed();
    }
  }
  CPMUTIL_LOG_INFO("pxmd: stopping, %zu processes attached", conns_.size());
  return 0;
}

void Hub::acceptAll() {
  for (size_t taken = 0; taken < kAcceptsPerRound; ++taken) {
    const int fd = ::accept4(listen_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (fd < 0) {
      if (errno == EINTR || errno == ECONNABORTED) continue;
      if ((errno == EMFILE || errno == ENFILE) && spare_ >= 0) {
        // Out of descriptors: take the caller and let it go at once, rather than have it
        // wake the loop forever.
        ::close(spare_);
        const int shed = ::accept4(listen_, nullptr, nullptr, SOCK_CLOEXEC);
        if (shed >= 0) ::close(shed);
        spare_ = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        CPMUTIL_LOG_ERROR("pxmd: out of file descriptors, refused a process");
        continue;
      }
      if (errno != EAGAIN && errno != EWOULDBLOCK)
        CPMUTIL_LOG_ERROR("pxmd: accept failed: %s", strerror(errno));
      return;
    }
    ucred cred{};
    socklen_t len = sizeof cred;
    if (::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &cred, &len) != 0) {
      CPMUTIL_LOG_ERROR("pxmd: no credentials of a caller: %s", strerror(errno));
      ::close(fd);
      continue;
    }
    std::string why;
    if (!access_.admits(fd, cred, &why)) {
      refuse(fd, cred, kRefusedNotAllowed, why);
      continue;
    }
    size_t& ofUser = perUser_[cred.uid];
    if (ofUser >= limits_.connectionsPerUser) {
      refuse(fd, cred, kRefusedTooManyOfUser,
             "too many connections of uid " + std::to_string(cred.uid) + " (at most " +
                 std::to_string(limits_.connectionsPerUser) + ")");
      continue;
    }
    if (conns_.size() >= limits_.connections) {
      refuse(fd, cred, kRefusedTooMany,
             "too many connections (at most " + std::to_string(limits_.connections) + ")");
      continue;
    }
    const uint64_t id = nextConn_++;
    auto conn =
        std::make_unique<HubConnection>(id, fd, cred.pid, cred.uid, Clock::now(), &reclaimer_);
    epoll_event ev{};
    ev.events = EPOLLIN;
    ev.data.u64 = id;
    if (::epoll_ctl(epoll_, EPOLL_CTL_ADD, fd, &ev) != 0) {
      CPMUTIL_LOG_ERROR("pxmd: epoll_ctl failed: %s", strerror(errno));
      continue;  // the connection closes its socket
    }
    CPMUTIL_LOG_DEBUG("pxmd: process %d attached as %llu", static_cast<int>(cred.pid),
                      static_cast<unsigned long long>(id));
    conns_.emplace(id, std::move(conn));
    ++ofUser;
    sweepWanted_ = true;  // for its hello
  }
}

void Hub::refuse(int fd, const ucred& cred, Refusal reason, const std::string& why) {
  // A fresh socket takes this small frame at once; the caller reads it before the end.
  std::vector<char> frame(sizeof(FrameHeader) + 4 + why.size());
  const FrameHeader header{static_cast<uint32_t>(4 + why.size()), kRefused, 0};
  const uint32_t code = reason;
  std::memcpy(frame.data(), &header, sizeof header);
  std::memcpy(frame.data() + sizeof header, &code, 4);
  std::memcpy(frame.data() + sizeof header + 4, why.data(), why.size());
  (void)::send(fd, frame.data(), frame.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
  ::close(fd);
  logLimited("pxmd: refused process %d (uid %u): %s", static_cast<int>(cred.pid),
             static_cast<unsigned>(cred.uid), why.c_str());
}

void Hub::logLimited(const char* format, ...) {
  if (!logLimiter_.allow(Clock::now())) return;
  char line[200];  // within what one log line carries
  va_list args;
  va_start(args, format);
  std::vsnprintf(line, sizeof line, format, args);
  va_end(args);
  CPMUTIL_LOG_ERROR("%s", line);
}

void Hub::settle(HubConnection& conn) {
  const size_t now = conn.holds();
  if (now < conn.accounted()) freed_ += conn.accounted() - now;
  total_ = total_ - conn.accounted() + now;
  conn.setAccounted(now);
}

void Hub::behind(HubConnection& conn) {
  const Clock::time_point now = Clock::now();
  if (conn.behindSince() == Clock::time_point{}) {
    conn.setBehindSince(now);
    return;
  }
  // One that does not read is held to its own limits.
  if (now - conn.behindSince() >= kBehindTime && readsLately(conn)) cutFeeder(conn);
}

bool Hub::readsLately(const HubConnection& conn) const {
  // Its socket took more after its queue grew long than a socket holds unread: the process
  // itself has read.
  return conn.behindSince() != Clock::time_point{} && conn.drainedBehind() >= kReadProof;
}

bool Hub::cutFeeder(HubConnection& reader) {
  auto top = conns_.find(reader.out().topSender());
  if (top == conns_.end() || top->second->doomed()) return false;
  overLimit(*top->second, "sent process " + std::to_string(reader.pid()) + " more than it reads");
  reader.out().dropFrom(top->first);
  reader.setBehindSince({});
  settle(reader);
  return true;
}

void Hub::makeRoom(size_t bytes) {
  while (total_ + bytes > limits_.budgetBytes) {
    HubConnection* largest = nullptr;
    for (auto& entry : conns_) {
      HubConnection& c = *entry.second;
      if (!c.doomed() && c.accounted() > 0 && (!largest || c.accounted() > largest->accounted()))
        largest = &c;
    }
    if (!largest) return;
    // A reader that reads is not to blame for what is fed to it faster.
    if (largest->out().bytes() > largest->reader().held() && readsLately(*largest) &&
        cutFeeder(*largest))
      continue;
    overLimit(*largest, "held the most of the hub's memory when it reached its budget of " +
                            std::to_string(limits_.budgetBytes) + " bytes");
  }
}

void Hub::sweep(Clock::time_point now) {
  bool again = false;
  for (auto& entry : conns_) {
    HubConnection& c = *entry.second;
    if (c.doomed()) continue;
    if (!c.greeted() && now - c.since() >= limits_.helloTime) {
      cutOff(c, ("said no hello within " + seconds(limits_.helloTime)).c_str());
      continue;
    }
    if (c.behindSince() != Clock::time_point{}) again = true;
    if (c.reader().midFrame()) {
      if (now - c.lastRead() >= limits_.stallTime) {
        cutOff(c,
               ("sent part of a frame and then nothing for " + seconds(limits_.stallTime)).c_str());
        continue;
      }
      again = true;
    } else {
      c.reader().release();  // an idle process holds no read buffer
      settle(c);
    }
    again = again || !c.greeted();
  }
  // What processes gave back goes back to the system, not only to the heap.
  if (freed_ >= kTrimAfter) {
    ::malloc_trim(0);
    freed_ = 0;
  }
  if (const size_t heldBack = logLimiter_.takeHeldBack(now))
    CPMUTIL_LOG_ERROR("pxmd: %zu more refusals and cut-offs were not logged", heldBack);
  sweepWanted_ = again;
  nextSweep_ = now + kSweepEvery;
}

int Hub::waitMs(Clock::time_point now) const {
  // Goes on at once while memory given up waits to be freed.
  if (!reclaimer_.empty()) return 0;
  // Wakes now and then while a process cut off has its last frame to read.
  if (!lingering_.empty()) return 100;
  if (!sweepWanted_) return -1;
  if (nextSweep_ <= now) return 0;
  return static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(nextSweep_ - now).count());
}

void Hub::onReadable(HubConnection& conn, size_t share) {
  conn.setLastRead(Clock::now());
  sweepWanted_ = true;
  const size_t room = total_ < limits_.budgetBytes ? limits_.budgetBytes - total_ : 0;
  reading_ = conn.id();
  const FrameReader::Status status = conn.reader().readFrom(
      conn.fd(),
      [&](const FrameHeader& header, const char* body) { return handleFrame(conn, header, body); },
      room, share);
  reading_ = 0;
  if (conn.doomed()) conn.reader().discard();
  settle(conn);
  if (status == FrameReader::Status::kNoRoom) {
    // The socket stays readable: once there is room, the next round reads on.
    makeRoom(conn.reader().growth());
    return;
  }
  if (status == FrameReader::Status::kOk) return;
  if (status == FrameReader::Status::kClosed) {
    CPMUTIL_LOG_DEBUG("pxmd: process %d (%llu) left", static_cast<int>(conn.pid()),
                      static_cast<unsigned long long>(conn.id()));
    if (!conn.doomed()) {
      conn.doom();
      doomed_.push_back(conn.id());
    }
    return;
  }
  cutOff(conn, describe(status));
}

bool Hub::handleFrame(HubConnection& conn, const FrameHeader& header, const char* body) {
  if (conn.doomed()) return false;
  const size_t len = header.length;
  if (!conn.greeted()) {
    if (header.type != kHello || len != 12) return false;
    conn.setGreeted();
    reply(conn, loadU32(body), kProtocolVersion);
    return true;
  }
  const MailboxDirectory::ConnId self = conn.id();
  switch (header.type) {
    case kCreate: {
      if (len < 4) return false;
      const uint32_t id = directory_.create(self, std::string_view(body + 4, len - 4));
      reply(conn, loadU32(body), id);
      return true;
    }
    case kDelete:
      if (len != 4) return false;
      if (directory_.owns(self, loadU32(body))) names_.mailboxGone(loadU32(body));
      directory_.remove(self, loadU32(body));
      return true;
    case kSend: {
      if (len < sizeof(Route) + kMinMessage) return false;
      // Forwarded as it came, under the other type.
      std::vector<char> frame(sizeof header + len);
      const FrameHeader out{header.length, kDeliver, 0};
      std::memcpy(frame.data(), &out, sizeof out);
      std::memcpy(frame.data() + sizeof out, body, len);
      directory_.send(self, std::move(frame));
      return true;
    }
    case kLocate:
      if (len < 4) return false;
      reply(conn, loadU32(body), directory_.locate(std::string_view(body + 4, len - 4)));
      return true;
    case kLocateAsync: {
      if (len < 8) return false;
      const uint32_t requester = loadU32(body);
      const size_t nameLength = loadU32(body + 4);
      if (nameLength > kMaxNameLength || len < 8 + nameLength + kMinMessage) return false;
      const char* message = body + 8 + nameLength;
      const std::string_view name(body + 8, nameLength);
      if (directory_.owns(self, requester) &&
          directory_.locate(name) == MailboxDirectory::kNoMailbox &&
          directory_.pendingLocatesOf(self) >= limits_.pendingLocates)
        return overLimit(conn, "went beyond its limit of " +
                                   std::to_string(limits_.pendingLocates) + " pending locates");
      directory_.locateAsync(
          self, requester, std::string_view(body + 8, nameLength),
          makeDeliverFrame(requester, MailboxDirectory::kNoMailbox, message, len - 8 - nameLength));
      return true;
    }
    case kGetName: {
      if (len != 8) return false;
      const std::string* name = directory_.nameOf(loadU32(body + 4));
      if (name)
        reply(conn, loadU32(body), 1, name->data(), name->size());
      else
        reply(conn, loadU32(body), 0);
      return true;
    }
    case kMonitor: {
      if (len < 12 + kMinMessage) return false;
      const uint32_t watcher = loadU32(body + 4);
      const uint32_t watched = loadU32(body + 8);
      if (directory_.monitorsOf(self) >= limits_.monitors)
        return overLimit(
            conn, "went beyond its limit of " + std::to_string(limits_.monitors) + " monitors");
      return directory_.monitor(self, loadU32(body), watcher, watched,
                                makeDeliverFrame(watcher, watched, body + 12, len - 12));
    }
    case kUnmonitor:
      // Answered, so that the caller knows no later death will fire it.
      if (len != 8) return false;
      directory_.unmonitor(self, loadU32(body + 4));
      reply(conn, loadU32(body), 0);
      return true;
    case kBye:
      if (len != 4) return false;
      names_.connectionGone(self);
      directory_.removeAll(self);
      reply(conn, loadU32(body), 0);
      return true;
    default: {
      if (header.type < kNameServiceFirst || header.type > kNameServiceLast || len < 4)
        return false;
      NameServer::Answer answer;
      if (!names_.handle(self, header.type, body + 4, len - 4, &answer)) return false;
      reply(conn, loadU32(body), answer.value, answer.data.data(), answer.data.size());
      return true;
    }
  }
}

void Hub::reply(HubConnection& conn, uint32_t req, uint32_t value, const void* data, size_t size) {
  std::vector<char> frame(sizeof(FrameHeader) + 8 + size);
  const FrameHeader header{static_cast<uint32_t>(8 + size), kReply, 0};
  std::memcpy(frame.data(), &header, sizeof header);
  std::memcpy(frame.data() + sizeof header, &req, 4);
  std::memcpy(frame.data() + sizeof header + 4, &value, 4);
  if (size) std::memcpy(frame.data() + sizeof header + 8, data, size);
  enqueue(conn, std::move(frame));
}

void Hub::deliver(MailboxDirectory::ConnId to, std::vector<char>&& frame) {
  auto it = conns_.find(to);
  if (it == conns_.end() || it->second->doomed()) return;  // on its way out: dropped
  enqueue(*it->second, std::move(frame));
}

void Hub::enqueue(HubConnection& conn, std::vector<char>&& frame) {
  if (conn.doomed()) return;
  if (conn.out().bytes() + frame.size() > limits_.queuedBytes &&
      !(readsLately(conn) && cutFeeder(conn))) {
    overLimit(conn, "went beyond its limit of " + std::to_string(limits_.queuedBytes) +
                        " bytes queued unread");
    return;
  }
  makeRoom(frame.size());
  if (conn.doomed()) return;  // it held the most
  // The frame of a sender just cut off for feeding this one goes with the rest of its frames.
  if (reading_ != conn.id()) {
    auto sender = conns_.find(reading_);
    if (sender != conns_.end() && sender->second->doomed()) return;
  }
  // Frames routed while a process's own are handled are that process's.
  conn.out().push(std::move(frame), reading_ != conn.id() ? reading_ : 0);
  settle(conn);
  if (conn.out().bytes() > kBacklog) behind(conn);
  if (!conn.dirty()) {
    conn.setDirty(true);
    dirty_.push_back(conn.id());
  }
}

void Hub::cutOff(HubConnection& conn, const char* why) {
  if (conn.doomed()) return;
  logLimited("pxmd: process %d (uid %u) %s; cut off", static_cast<int>(conn.pid()),
             static_cast<unsigned>(conn.uid()), why);
  conn.doom();
  doomed_.push_back(conn.id());
  // What it sent in part goes now, unless its frames are being handled at this moment.
  if (conn.id() != reading_) conn.reader().discard();
  settle(conn);
}

bool Hub::overLimit(HubConnection& conn, const std::string& why) {
  if (conn.doomed()) return false;
  cutOff(conn, why.c_str());
  // What waits for it is of no use any more; the reason goes after a frame already begun,
  // unless much of that is left.
  conn.out().dropUnstarted();
  if (conn.out().bytes() > kFarewellRoom) {
    conn.out().clear();
    settle(conn);
    return false;
  }
  std::vector<char> frame(sizeof(FrameHeader) + why.size());
  const FrameHeader header{static_cast<uint32_t>(why.size()), kError, 0};
  std::memcpy(frame.data(), &header, sizeof header);
  std::memcpy(frame.data() + sizeof header, why.data(), why.size());
  conn.out().push(std::move(frame));
  conn.setFarewell();
  settle(conn);
  return false;
}

void Hub::flushDirty() {
  for (size_t i = 0; i < dirty_.size(); ++i) {
    auto it = conns_.find(dirty_[i]);
    if (it == conns_.end()) continue;
    HubConnection& conn = *it->second;
    conn.setDirty(false);
    if (conn.doomed()) continue;
    const size_t before = conn.out().bytes();
    const OutQueue::Result result = conn.out().flush(conn.fd());
    conn.addDrained(before - conn.out().bytes());
    if (conn.out().bytes() <= kBacklog) conn.setBehindSince({});
    settle(conn);
    switch (result) {
      case OutQueue::Result::kDrained:
        if (conn.wantsWrite()) watchWrites(conn, false);
        break;
      case OutQueue::Result::kPending:
        if (!conn.wantsWrite()) watchWrites(conn, true);
        break;
      case OutQueue::Result::kError:
        // The peer is gone; its end of stream will come through the read side as well.
        conn.doom();
        doomed_.push_back(conn.id());
        break;
    }
  }
  dirty_.clear();
}

void Hub::closeDoomed() {
  while (!doomed_.empty()) {
    std::vector<uint64_t> batch;
    batch.swap(doomed_);
    for (uint64_t id : batch) {
      auto node = conns_.extract(id);
      if (node.empty()) continue;
      // Gone from conns_ first, so that its mailboxes' monitors do not write to it.
      names_.connectionGone(id);
      directory_.removeAll(id);
      std::unique_ptr<HubConnection>& conn = node.mapped();
      total_ -= conn->accounted();
      freed_ += conn->accounted() + sizeof(HubConnection);
      --perUser_[conn->uid()];
      conn->reader().discard();
      if (conn->farewell()) {
        linger(std::move(conn));
        continue;
      }
      ::epoll_ctl(epoll_, EPOLL_CTL_DEL, conn->fd(), nullptr);
      conn->out().clear();
    }
    // Monitors fired by those deaths go out now.
    flushDirty();
  }
}

void Hub::linger(std::unique_ptr<HubConnection> conn) {
  const bool pending = conn->out().flush(conn->fd()) == OutQueue::Result::kPending;
  epoll_event ev{};
  ev.events = pending ? (EPOLLIN | EPOLLOUT) : EPOLLIN;
  ev.data.u64 = conn->id();
  ::epoll_ctl(epoll_, EPOLL_CTL_MOD, conn->fd(), &ev);
  const uint64_t id = conn->id();
  lingering_[id] = Lingering{std::move(conn), std::chrono::steady_clock::now() + kFarewellTime};
}

void Hub::serveLingering(uint64_t key, uint32_t events) {
  auto it = lingering_.find(key);
  HubConnection& conn = *it->second.conn;
  bool done = false;
  if (events & EPOLLOUT) {
    const OutQueue::Result result = conn.out().flush(conn.fd());
    if (result == OutQueue::Result::kDrained) {
      epoll_event ev{};
      ev.events = EPOLLIN;
      ev.data.u64 = key;
      ::epoll_ctl(epoll_, EPOLL_CTL_MOD, conn.fd(), &ev);
    }
    done = result == OutQueue::Result::kError;
  }
  // What it still sends is read and dropped, so that its writes neither wait nor fail before
  // it has read why.
  if (events & (EPOLLIN | EPOLLHUP | EPOLLERR)) {
    char scratch[16384];
    for (;;) {
      const ssize_t n = ::recv(conn.fd(), scratch, sizeof scratch, MSG_DONTWAIT);
      if (n > 0) continue;
      if (n < 0 && errno == EINTR) continue;
      done = done || n == 0 || (errno != EAGAIN && errno != EWOULDBLOCK);
      break;
    }
  }
  if (!done) return;
  ::epoll_ctl(epoll_, EPOLL_CTL_DEL, conn.fd(), nullptr);
  forget(std::move(it->second.conn));
  lingering_.erase(it);
}

void Hub::expireLingering() {
  const auto now = std::chrono::steady_clock::now();
  for (auto it = lingering_.begin(); it != lingering_.end();) {
    if (it->second.deadline > now) {
      ++it;
      continue;
    }
    ::epoll_ctl(epoll_, EPOLL_CTL_DEL, it->second.conn->fd(), nullptr);
    forget(std::move(it->second.conn));
    it = lingering_.erase(it);
  }
}

void Hub::forget(std::unique_ptr<HubConnection> conn) {
  // Its last frames go with it; a sweep gives the memory back.
  freed_ += conn->out().bytes() + sizeof(HubConnection);
  conn->out().clear();
  sweepWanted_ = true;
}

void Hub::watchWrites(HubConnection& conn, bool on) {
  epoll_event ev{};
  ev.events = on ? (EPOLLIN | EPOLLOUT) : EPOLLIN;
  ev.data.u64 = conn.id();
  ::epoll_ctl(epoll_, EPOLL_CTL_MOD, conn.fd(), &ev);
  conn.setWantsWrite(on);
}

}  // namespace pxm
