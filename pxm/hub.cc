#include "pxm/hub.h"

#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string_view>

#include "tracing/log.h"

namespace pxm {

namespace {

constexpr uint64_t kListenKey = 1;
constexpr uint64_t kStopKey = 2;
constexpr uint64_t kFirstConn = 16;
constexpr int kMaxEvents = 64;

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
    default:
      return "left";
  }
}

}  // namespace

Hub::Hub(int listenFd, int stopFd, HubLimits limits)
    : listen_(listenFd),
      stop_(stopFd),
      nextConn_(kFirstConn),
      directory_([this](MailboxDirectory::ConnId to, std::vector<char>&& frame) {
        deliver(to, std::move(frame));
      }),
      names_(directory_, [this](MailboxDirectory::ConnId to,
                                std::vector<char>&& frame) { deliver(to, std::move(frame)); }),
      limits_(limits) {
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
  epoll_event events[kMaxEvents];
  bool stop = false;
  while (!stop) {
    // Wakes now and then while a process cut off has its last frame to read.
    const int n = ::epoll_wait(epoll_, events, kMaxEvents, lingering_.empty() ? -1 : 100);
    if (n < 0) {
      if (errno == EINTR) continue;
      CPMUTIL_LOG_ERROR("pxmd: epoll_wait failed: %s", strerror(errno));
      return 1;
    }
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
      if (events[i].events & (EPOLLIN | EPOLLHUP | EPOLLERR)) onReadable(conn);
    }
    flushDirty();
    closeDoomed();
    expireLingering();
  }
  CPMUTIL_LOG_INFO("pxmd: stopping, %zu processes attached", conns_.size());
  return 0;
}

void Hub::acceptAll() {
  for (;;) {
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
    if (::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &cred, &len) != 0 || cred.uid != ::geteuid()) {
      CPMUTIL_LOG_ERROR("pxmd: refused a process of another user (uid %u)",
                        static_cast<unsigned>(cred.uid));
      ::close(fd);
      continue;
    }
    const uint64_t id = nextConn_++;
    auto conn = std::make_unique<HubConnection>(id, fd, cred.pid);
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
  }
}

void Hub::onReadable(HubConnection& conn) {
  const FrameReader::Status status = conn.reader().readFrom(
      conn.fd(),
      [&](const FrameHeader& header, const char* body) { return handleFrame(conn, header, body); });
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
  conn.out().push(std::move(frame));
  if (conn.out().bytes() > limits_.queuedBytes) {
    overLimit(conn, "went beyond its limit of " + std::to_string(limits_.queuedBytes) +
                        " bytes queued unread");
    return;
  }
  if (!conn.dirty()) {
    conn.setDirty(true);
    dirty_.push_back(conn.id());
  }
}

void Hub::cutOff(HubConnection& conn, const char* why) {
  if (conn.doomed()) return;
  CPMUTIL_LOG_ERROR("pxmd: process %d (%llu) %s; cut off", static_cast<int>(conn.pid()),
                    static_cast<unsigned long long>(conn.id()), why);
  conn.doom();
  doomed_.push_back(conn.id());
}

bool Hub::overLimit(HubConnection& conn, const std::string& why) {
  if (conn.doomed()) return false;
  cutOff(conn, why.c_str());
  // What waits for it is of no use any more; the reason goes after a frame already begun.
  conn.out().dropUnstarted();
  std::vector<char> frame(sizeof(FrameHeader) + why.size());
  const FrameHeader header{static_cast<uint32_t>(why.size()), kError, 0};
  std::memcpy(frame.data(), &header, sizeof header);
  std::memcpy(frame.data() + sizeof header, why.data(), why.size());
  conn.out().push(std::move(frame));
  conn.setFarewell();
  return false;
}

void Hub::flushDirty() {
  for (size_t i = 0; i < dirty_.size(); ++i) {
    auto it = conns_.find(dirty_[i]);
    if (it == conns_.end()) continue;
    HubConnection& conn = *it->second;
    conn.setDirty(false);
    if (conn.doomed()) continue;
    switch (conn.out().flush(conn.fd())) {
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
      if (conn->farewell()) {
        linger(std::move(conn));
        continue;
      }
      ::epoll_ctl(epoll_, EPOLL_CTL_DEL, conn->fd(), nullptr);
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
    it = lingering_.erase(it);
  }
}

void Hub::watchWrites(HubConnection& conn, bool on) {
  epoll_event ev{};
  ev.events = on ? (EPOLLIN | EPOLLOUT) : EPOLLIN;
  ev.data.u64 = conn.id();
  ::epoll_ctl(epoll_, EPOLL_CTL_MOD, conn.fd(), &ev);
  conn.setWantsWrite(on);
}

}  // namespace pxm
