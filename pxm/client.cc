#include "pxm/client.h"

#include <grp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "pxm/misuse.h"
#include "pxm/run_dir.h"

namespace pxm {

namespace {

// How long a request waits for the hub's answer before the call fails.
constexpr std::chrono::milliseconds kRequestLimit{10000};
constexpr std::chrono::milliseconds kByeLimit{2000};

bool isSentinel(pxm_mbox_id_t id) { return id >= 0xFFF00000u; }

// Why the file system keeps the caller from the hub's socket: the group that the socket, or
// else its directory, is shared with.
std::string deniedBy(const std::string& socketPath) {
  const std::string dir = socketPath.substr(0, socketPath.rfind('/'));
  for (const std::string& path : {socketPath, dir}) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0 || (st.st_mode & 070) == 0) continue;
    const group* g = ::getgrgid(st.st_gid);
    return "not a member of group " +
           (g ? std::string(g->gr_name) : std::to_string(static_cast<unsigned>(st.st_gid)));
  }
  return "permission denied on " + socketPath;
}

int32_t resultOf(uint32_t refusal) {
  switch (refusal) {
    case kRefusedNotAllowed:
      return PXM_INIT_NOT_ALLOWED;
    case kRefusedTooManyOfUser:
      return PXM_INIT_TOO_MANY_OF_USER;
    case kRefusedTooMany:
      return PXM_INIT_TOO_MANY;
    default:
      return PXM_INIT_HANDSHAKE;  // a reason from a newer hub
  }
}

}  // namespace

int32_t Client::connect(const char* nameSpace, std::shared_ptr<Client>* out, std::string* refusal) {
  refusal->clear();
  if (!RunDir::validNamespace(nameSpace)) return PXM_INIT_BAD_NAMESPACE;
  const std::string path = RunDir::socketPath(RunDir::directory(), nameSpace);
  if (path.empty()) return PXM_INIT_NO_HUB;
  const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return PXM_INIT_NO_HUB;
  sockaddr_un addr{};
  addr.sun_family = AF_UNIX;
  std::memcpy(addr.sun_path, path.c_str(), path.size() + 1);
  int rc;
  do {
    rc = ::connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr);
  } while (rc != 0 && errno == EINTR);
  if (rc != 0) {
    const int err = errno;
    ::close(fd);
    if (err != EACCES && err != EPERM) return PXM_INIT_NO_HUB;
    *refusal = deniedBy(path);
    return PXM_INIT_NOT_ALLOWED;
  }
  auto client = std::make_shared<Client>(fd);
  const uint32_t hello[2] = {kProtocolVersion, static_cast<uint32_t>(::getpid())};
  const iovec part{const_cast<uint32_t*>(hello), sizeof hello};
  Pending answer;
  if (!client->request(kHello, &part, 1, &answer, kRequestLimit) ||
      answer.value != kProtocolVersion) {
    client->readRefusal();
    if (client->refusal_ == 0) return PXM_INIT_HANDSHAKE;
    *refusal = client->refusalText_;
    return resultOf(client->refusal_);
  }
  client->greeted_ = true;
  *out = std::move(client);
  return PXM_INIT_OK;
}

void Client::readRefusal() {
  std::lock_guard<std::mutex> lock(mu_);
  // The hub wrote its reason before it closed; a few reads find it or the end.
  for (int i = 0; i < 4 && refusal_ == 0; ++i) {
    pollfd pfd{fd_, POLLIN, 0};
    if (::poll(&pfd, 1, 0) <= 0) break;
    readFrames();
  }
}

Client::Client(int fd) : fd_(fd) {}

Client::~Client() {
  for (auto& entry : inboxes_)
    for (MessageBlock* block : entry.second.queue) block->release();
  ::close(fd_);
}

void Client::shutdown() {
  if (!broken_) {
    Pending answer;
    request(kBye, nullptr, 0, &answer, kByeLimit);
  }
  std::lock_guard<std::mutex> lock(mu_);
  closed_ = true;
  broken_ = true;
  ::shutdown(fd_, SHUT_RDWR);
  cv_.notify_all();
}

pxm_mbox_id_t Client::createMailbox(const char* name) {
  const std::string text = name ? name : "";
  if (text.size() > kMaxNameLength) return PXM_NO_MBOX;
  Pending answer;
  answer.create = true;
  answer.owner = std::this_thread::get_id();
  answer.name = text;
  const iovec part{const_cast<char*>(text.data()), text.size()};
  if (!request(kCreate, &part, 1, &answer, kRequestLimit)) return PXM_NO_MBOX;
  return answer.value;
}

void Client::deleteMailbox(pxm_mbox_id_t mbox) {
  {
    std::lock_guard<std::mutex> lock(mu_);
    auto it = mailboxes_.find(mbox);
    if (it == mailboxes_.end()) {
      misuse("pxm_delete_mailbox", "not a mailbox of this process");
      return;
    }
    auto box = inboxes_.find(it->second.owner);
    mailboxes_.erase(it);
    if (box != inboxes_.end()) {
      Inbox& inbox = box->second;
      inbox.mailboxes.erase(std::remove(inbox.mailboxes.begin(), inbox.mailboxes.end(), mbox),
                            inbox.mailboxes.end());
      // What waits for the mailbox goes with it.
      auto stale = std::stable_partition(inbox.queue.begin(), inbox.queue.end(),
                                         [mbox](MessageBlock* b) { return b->route().to != mbox; });
      for (auto i = stale; i != inbox.queue.end(); ++i) (*i)->release();
      inbox.queue.erase(stale, inbox.queue.end());
      if (inbox.mailboxes.empty()) inboxes_.erase(box);
    }
    cv_.notify_all();  // a thread waiting on it returns
  }
  const iovec part{&mbox, sizeof mbox};
  writeFrame(kDelete, &part, 1);
}

void Client::send(MessageBlock* block, pxm_mbox_id_t to, pxm_mbox_id_t from) {
  from = resolveFrom(from, "pxm_send");
  block->unregister();
  // A message to nobody is dropped, as to a mailbox that is gone.
  if (from != PXM_NO_MBOX && !isSentinel(to)) {
    block->setRoute(Route{to, from});
    iovec frame{const_cast<void*>(block->wire()), block->wireSize()};
    writeAll(&frame, 1);
  }
  block->destroy();
}

pxm_msg* Client::receive(const uint32_t* filter, uint32_t timeoutMs, pxm_mbox_id_t from) {
  Deadline deadline;
  if (timeoutMs != PXM_NO_TMO) deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
  const std::thread::id self = std::this_thread::get_id();
  std::unique_lock<std::mutex> lock(mu_);
  if (!inboxes_.count(self)) {
    misuse("pxm_receive", "the calling thread has no mailbox");
    return nullptr;
  }
  for (bool waited = false;; waited = true) {
    auto box = inboxes_.find(self);
    if (box == inboxes_.end()) return nullptr;  // its mailbox was deleted meanwhile
    if (MessageBlock* block = take(box->second, filter, from)) return block->payload();
    if (closed_ || (waited && deadline && Clock::now() >= *deadline)) return nullptr;
    waitOnce(lock, deadline);
  }
}

pxm_mbox_id_t Client::locate(const char* name) {
  const size_t len = std::strlen(name);
  if (len == 0 || len > kMaxNameLength) return PXM_NO_MBOX;
  Pending answer;
  const iovec part{const_cast<char*>(name), len};
  if (!request(kLocate, &part, 1, &answer, kRequestLimit)) return PXM_NO_MBOX;
  return answer.value;
}

void Client::locateAsync(const char* name, MessageBlock* block, pxm_mbox_id_t from) {
  const uint32_t requester = resolveFrom(from, "pxm_locate_async");
  const size_t len = std::strlen(name);
  if (requester != PXM_NO_MBOX && len > 0 && len <= kMaxNameLength) {
    const uint32_t head[2] = {requester, static_cast<uint32_t>(len)};
    const iovec parts[3] = {{const_cast<uint32_t*>(head), sizeof head},
                            {const_cast<char*>(name), len},
                            {block->payload(), block->size()}};
    writeFrame(kLocateAsync, parts, 3);
  } else if (requester != PXM_NO_MBOX) {
    misuse("pxm_locate_async", "the name is empty or too long");
  }
  block->release();
}

bool Client::getName(pxm_mbox_id_t mbox, std::string* name) {
  {
    std::lock_guard<std::mutex> lock(mu_);
    auto it = mailboxes_.find(mbox);
    if (it != mailboxes_.end()) {
      *name = it->second.name;
      return true;
    }
  }
  Pending answer;
  const iovec part{&mbox, sizeof mbox};
  if (!request(kGetName, &part, 1, &answer, kRequestLimit) || answer.value == 0) return false;
  *name = std::move(answer.data);
  return true;
}

pxm_monitor_id_t Client::monitor(pxm_mbox_id_t mbox, MessageBlock* block) {
  const pxm_mbox_id_t watcher = resolveFrom(PXM_MY_MBOX, "pxm_monitor");
  if (watcher == PXM_NO_MBOX) {
    if (block) block->release();
    return 0;
  }
  if (!block) block = MessageBlock::create(sizeof(uint32_t), PXM_MBOX_GONE);
  if (!block) return 0;
  uint32_t monitorId;
  {
    std::lock_guard<std::mutex> lock(mu_);
    monitorId = nextMonitor_++;
    // 0 is the failure answer and -1 the callers' "none".
    if (nextMonitor_ == 0xFFFFFFFFu) nextMonitor_ = 1;
  }
  const uint32_t head[3] = {monitorId, watcher, mbox};
  const iovec parts[2] = {{const_cast<uint32_t*>(head), sizeof head},
                          {block->payload(), block->size()}};
  const bool sent = writeFrame(kMonitor, parts, 2);
  block->release();
  return sent ? monitorId : 0;
}

void Client::unmonitor(pxm_monitor_id_t monitor) {
  if (monitor == 0 || monitor == 0xFFFFFFFFu) return;
  // Waits for the hub, so that a death after this call never fires the monitor. A monitor
  // message already on its way may still arrive.
  Pending answer;
  const iovec part{&monitor, sizeof monitor};
  request(kUnmonitor, &part, 1, &answer, kRequestLimit);
}

bool Client::call(uint16_t type, const std::string& body, uint32_t* value, std::string* data,
                  std::chrono::milliseconds limit) {
  Pending answer;
  const iovec part{const_cast<char*>(body.data()), body.size()};
  if (!request(type, &part, 1, &answer, limit)) return false;
  *value = answer.value;
  *data = std::move(answer.data);
  return true;
}

bool Client::request(uint16_t type, const iovec* parts, size_t count, Pending* answer,
                     std::chrono::milliseconds limit) {
  uint32_t req;
  {
    std::lock_guard<std::mutex> lock(mu_);
    req = nextReq_++;
    pending_.emplace(req, std::move(*answer));
  }
  iovec all[4];
  all[0] = iovec{&req, sizeof req};
  std::copy(parts, parts + count, all + 1);
  const bool sent = writeFrame(type, all, count + 1);

  std::unique_lock<std::mutex> lock(mu_);
  const Deadline deadline = Clock::now() + limit;
  auto it = pending_.find(req);
  while (sent && !it->second.done && !broken_ && Clock::now() < *deadline) {
    waitOnce(lock, deadline);
    it = pending_.find(req);
  }
  *answer = std::move(it->second);
  pending_.erase(it);
  return answer->done;
}

bool Client::writeFrame(uint16_t type, const iovec* parts, size_t count) {
  iovec iov[5];
  size_t length = 0;
  for (size_t i = 0; i < count; ++i) {
    iov[i + 1] = parts[i];
    length += parts[i].iov_len;
  }
  FrameHeader header{static_cast<uint32_t>(length), type, 0};
  iov[0] = iovec{&header, sizeof header};
  return writeAll(iov, count + 1);
}

bool Client::writeAll(iovec* iov, size_t count) {
  if (broken_) return false;
  std::lock_guard<std::mutex> lock(writeMu_);
  while (count > 0) {
    msghdr msg{};
    msg.msg_iov = iov;
    msg.msg_iovlen = count;
    const ssize_t written = ::sendmsg(fd_, &msg, MSG_NOSIGNAL);
    if (written < 0) {
      if (errno == EINTR) continue;
      connectionLost(strerror(errno));
      return false;
    }
    size_t left = static_cast<size_t>(written);
    while (count > 0 && left >= iov->iov_len) {
      left -= iov->iov_len;
      ++iov;
      --count;
    }
    if (count > 0) {
      iov->iov_base = static_cast<char*>(iov->iov_base) + left;
      iov->iov_len -= left;
    }
  }
  return true;
}

void Client::waitOnce(std::unique_lock<std::mutex>& lock, const Deadline& deadline) {
  if (broken_ || reading_) {
    // Someone else reads, or there is nothing left to read: sleep until woken or due.
    if (deadline)
      cv_.wait_until(lock, *deadline);
    else
      cv_.wait(lock);
    return;
  }
  int timeout = -1;
  if (deadline) {
    const auto left = *deadline - Clock::now();
    timeout = left <= Clock::duration::zero()
                  ? 0
                  : static_cast<int>(std::min<int64_t>(
                        std::chrono::ceil<std::chrono::milliseconds>(left).count(), 1 << 30));
  }
  reading_ = true;
  lock.unlock();
  pollfd pfd{fd_, POLLIN, 0};
  const int ready = ::poll(&pfd, 1, timeout);
  lock.lock();
  if (ready > 0) readFrames();
  reading_ = false;
  cv_.notify_all();
}

void Client::readFrames() {
  const FrameReader::Status status =
      reader_.readFrom(fd_, [this](const FrameHeader& header, const char* body) {
        sort(header, body);
        return true;
      });
  switch (status) {
    case FrameReader::Status::kOk:
      break;
    case FrameReader::Status::kClosed:
    case FrameReader::Status::kTruncated:
      if (!closed_) connectionLost("the hub closed the connection");
      broken_ = true;
      break;
    default:
      connectionLost("unreadable data from the hub");
      break;
  }
}

void Client::sort(const FrameHeader& header, const char* body) {
  const size_t len = header.length;
  if (header.type == kDeliver && len >= sizeof(Route) + kMinMessage) {
    Route route;
    std::memcpy(&route, body, sizeof route);
    auto owner = mailboxes_.find(route.to);
    if (owner == mailboxes_.end()) return;  // deleted: dropped
    auto box = inboxes_.find(owner->second.owner);
    if (box == inboxes_.end()) return;
    MessageBlock* block = MessageBlock::fromWire(route, body + sizeof route, len - sizeof route);
    if (block) box->second.queue.push_back(block);
    return;
  }
  if (header.type == kReply && len >= 8) {
    auto it = pending_.find(loadU32(body));
    if (it == pending_.end()) return;  // its caller gave up
    Pending& p = it->second;
    p.done = true;
    p.value = loadU32(body + 4);
    p.data.assign(body + 8, len - 8);
    if (p.create && p.value != PXM_NO_MBOX) {
      mailboxes_[p.value] = MailboxInfo{p.owner, p.name};
      inboxes_[p.owner].mailboxes.push_back(p.value);
    }
  }
  if (header.type == kRefused && len >= 4 && !greeted_) {
    refusal_ = loadU32(body);
    refusalText_.assign(body + 4, len - 4);
    broken_ = true;
    return;
  }
  if (header.type == kError) {
    // The hub cuts this process off and says why; the end of the stream follows.
    const std::string why(body, len);
    if (!broken_.exchange(true)) std::fprintf(stderr, "pxm: cut off by the hub: %s\n", why.c_str());
    return;
  }
  // Anything else is from a newer hub, and not for us.
}

void Client::connectionLost(const char* why) {
  if (!broken_.exchange(true) && greeted_)
    std::fprintf(stderr, "pxm: connection to the hub lost: %s\n", why);
}

MessageBlock* Client::take(Inbox& inbox, const uint32_t* filter, pxm_mbox_id_t from) {
  for (auto it = inbox.queue.begin(); it != inbox.queue.end(); ++it) {
    MessageBlock* block = *it;
    if (from != PXM_FROM_ALL && block->route().from != from) continue;
    if (filter && filter[0] != 0) {
      const uint32_t msgno = block->msgno();
      if (std::find(filter + 1, filter + 1 + filter[0], msgno) == filter + 1 + filter[0]) continue;
    }
    inbox.queue.erase(it);
    return block;
  }
  return nullptr;
}

pxm_mbox_id_t Client::resolveFrom(pxm_mbox_id_t from, const char* function) {
  std::lock_guard<std::mutex> lock(mu_);
  if (from == PXM_MY_MBOX) {
    auto box = inboxes_.find(std::this_thread::get_id());
    if (box == inboxes_.end() || box->second.mailboxes.empty()) {
      misuse(function, "the calling thread has no mailbox");
      return PXM_NO_MBOX;
    }
    return box->second.mailboxes.front();
  }
  if (!mailboxes_.count(from)) {
    misuse(function, "the sending mailbox is not one of this process");
    return PXM_NO_MBOX;
  }
  return from;
}

}  // namespace pxm
