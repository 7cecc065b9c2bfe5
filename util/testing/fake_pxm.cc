#include "util/testing/fake_pxm.h"

#include <arpa/inet.h>

#include <cstdlib>
#include <cstring>

#include "util/mainloop/pxm_mainloop.h"

namespace kvn::testing {

namespace {

// What the fake keeps in front of each message.
struct alignas(16) Prefix {
  size_t capacity;
  size_t size;
  pxm_mbox_id_t sender;
  pxm_mbox_id_t receiver;
};

Prefix* prefixOf(pxm_msg* msg) {
  return reinterpret_cast<Prefix*>(reinterpret_cast<char*>(msg) - sizeof(Prefix));
}

}  // namespace

uint8_t FakePxm::Sent::u8(size_t offset) const { return bytes.at(offset); }

uint16_t FakePxm::Sent::be16(size_t offset) const {
  return static_cast<uint16_t>(bytes.at(offset) << 8 | bytes.at(offset + 1));
}

uint32_t FakePxm::Sent::be32(size_t offset) const {
  return static_cast<uint32_t>(be16(offset)) << 16 | be16(offset + 2);
}

std::string FakePxm::Sent::text(size_t offset, size_t length) const {
  if (offset + length > bytes.size()) return std::string();
  return std::string(reinterpret_cast<const char*>(bytes.data() + offset), length);
}

FakePxm::~FakePxm() {
  for (pxm_msg* msg : live_) std::free(prefixOf(msg));
}

pxm_msg* FakePxm::alloc(size_t size, uint32_t msgno) {
  // Always room for the number, as the library gives.
  const size_t capacity = size < sizeof(uint32_t) ? sizeof(uint32_t) : size;
  auto* prefix = static_cast<Prefix*>(std::calloc(1, sizeof(Prefix) + capacity));
  prefix->capacity = capacity;
  prefix->size = size;
  prefix->sender = PXM_NO_MBOX;
  prefix->receiver = PXM_NO_MBOX;
  auto* msg = reinterpret_cast<pxm_msg*>(prefix + 1);
  msg->msgno = msgno;
  live_.insert(msg);
  return msg;
}

void FakePxm::free(pxm_msg*& msg) {
  if (msg == nullptr) return;
  if (!isLive(msg)) {
    ++badFrees_;
    msg = nullptr;
    return;
  }
  live_.erase(msg);
  std::free(prefixOf(msg));
  msg = nullptr;
}

pxm_mbox_id_t FakePxm::sender(pxm_msg* msg) { return prefixOf(msg)->sender; }

pxm_mbox_id_t FakePxm::receiver(pxm_msg* msg) { return prefixOf(msg)->receiver; }

size_t FakePxm::size(pxm_msg* msg) { return prefixOf(msg)->size; }

bool FakePxm::setsize(pxm_msg* msg, size_t size) {
  if (size > prefixOf(msg)->capacity) return false;
  prefixOf(msg)->size = size;
  return true;
}

pxm_mbox_id_t FakePxm::newMailbox(const std::string& name) {
  if (locate(name.c_str()) != PXM_NO_MBOX) return PXM_NO_MBOX;
  const pxm_mbox_id_t id = nextMbox_++;
  mailboxes_[id].name = name;
  return id;
}

pxm_mbox_id_t FakePxm::create_mailbox(const char* name, uint32_t flags) {
  const pxm_mbox_id_t id = newMailbox(name);
  if (id != PXM_NO_MBOX && own_ == PXM_NO_MBOX) own_ = id;
  return id;
}

pxm_mbox_id_t FakePxm::createPeer(const std::string& name) { return newMailbox(name); }

void FakePxm::delete_mailbox(pxm_mbox_id_t mbox) { kill(mbox); }

void FakePxm::kill(pxm_mbox_id_t mbox) {
  auto it = mailboxes_.find(mbox);
  if (it == mailboxes_.end() || !it->second.alive) return;
  it->second.alive = false;
  for (pxm_msg* msg : it->second.queue) free(msg);
  it->second.queue.clear();
  for (auto m = monitors_.begin(); m != monitors_.end();) {
    if (m->second.watched == mbox) {
      pxm_msg* msg = m->second.msg != nullptr ? m->second.msg : alloc(4, PXM_MBOX_GONE);
      const pxm_mbox_id_t watcher = m->second.watcher;
      m = monitors_.erase(m);
      deliver(msg, watcher, mbox);
    } else {
      ++m;
    }
  }
}

void FakePxm::deliver(pxm_msg* msg, pxm_mbox_id_t to, pxm_mbox_id_t from) {
  prefixOf(msg)->sender = from;
  prefixOf(msg)->receiver = to;
  auto it = mailboxes_.find(to);
  if (it == mailboxes_.end() || !it->second.alive) {
    free(msg);  // a message to a dead mailbox is lost
    return;
  }
  it->second.queue.push_back(msg);
}

void FakePxm::send(pxm_msg*& msg, pxm_mbox_id_t to, pxm_mbox_id_t from) {
  if (msg == nullptr) return;
  if (!isLive(msg)) {
    ++badFrees_;
    msg = nullptr;
    return;
  }
  deliver(msg, to, from == PXM_MY_MBOX ? own_ : from);
  msg = nullptr;
}

pxm_msg* FakePxm::receive(const uint32_t* filter, uint32_t timeoutMs, pxm_mbox_id_t from) {
  receiveTimeouts_.push_back(timeoutMs);
  auto it = mailboxes_.find(own_);
  if (it == mailboxes_.end() || it->second.queue.empty()) {
    if (idleHook_) idleHook_();
    return nullptr;
  }
  pxm_msg* msg = it->second.queue.front();
  it->second.queue.pop_front();
  return msg;
}

// Only the simulators locate asynchronously, on the real library; a test that needs it here
// adds the waiting for the name first.
void FakePxm::locate_async(const char*, pxm_msg**, pxm_mbox_id_t) { std::abort(); }

pxm_mbox_id_t FakePxm::locate(const char* name) {
  for (const auto& [id, box] : mailboxes_) {
    if (box.alive && box.name == name) return id;
  }
  return PXM_NO_MBOX;
}

bool FakePxm::get_name(pxm_mbox_id_t mbox, char* buffer, uint32_t size) {
  auto it = mailboxes_.find(mbox);
  if (it == mailboxes_.end() || size == 0) return false;
  std::snprintf(buffer, size, "%s", it->second.name.c_str());
  return true;
}

pxm_monitor_id_t FakePxm::monitor(pxm_mbox_id_t mbox, pxm_msg*& msg) {
  const pxm_monitor_id_t ref = nextMonitor_++;
  pxm_msg* held = msg;
  msg = nullptr;
  const auto it = mailboxes_.find(mbox);
  if (it == mailboxes_.end() || !it->second.alive) {
    // Watching the dead: the message comes at once.
    deliver(held != nullptr ? held : alloc(4, PXM_MBOX_GONE), own_, mbox);
    return ref;
  }
  monitors_[ref] = Monitor{mbox, own_, held};
  return ref;
}

void FakePxm::unmonitor(pxm_monitor_id_t ref) {
  auto it = monitors_.find(ref);
  if (it == monitors_.end()) return;
  if (it->second.msg != nullptr) free(it->second.msg);
  monitors_.erase(it);
}

void FakePxm::injectObs(pxm_mbox_id_t from, uint16_t dstRoutineId, uint16_t srcRoutineId,
                        uint16_t submsgno, const std::vector<uint8_t>& body, uint32_t msgno) {
  const size_t size = sizeof(KvnObsSubMessageWithSubMsgNo) + body.size();
  pxm_msg* msg = alloc(size, msgno);
  auto* header = reinterpret_cast<KvnObsSubMessageWithSubMsgNo*>(msg);
  header->dstRoutineId = htons(dstRoutineId);
  header->srcRoutineId = htons(srcRoutineId);
  header->submsgno = htons(submsgno);
  if (!body.empty()) std::memcpy(header + 1, body.data(), body.size());
  deliver(msg, own_, from);
}

void FakePxm::inject(pxm_msg*& msg, pxm_mbox_id_t from) {
  deliver(msg, own_, from);
  msg = nullptr;
}

std::optional<FakePxm::Sent> FakePxm::popSent(pxm_mbox_id_t mbox) {
  auto it = mailboxes_.find(mbox);
  if (it == mailboxes_.end() || it->second.queue.empty()) return std::nullopt;
  pxm_msg* msg = it->second.queue.front();
  it->second.queue.pop_front();
  Sent sent;
  sent.msgno = msg->msgno;
  sent.size = prefixOf(msg)->size;
  const auto* raw = reinterpret_cast<const uint8_t*>(msg);
  sent.bytes.assign(raw, raw + sent.size);
  if (sent.size >= sizeof(KvnObsSubMessageWithSubMsgNo)) {
    sent.dstRoutineId = sent.be16(4);
    sent.srcRoutineId = sent.be16(6);
    sent.submsgno = sent.be16(8);
    sent.body.assign(sent.bytes.begin() + sizeof(KvnObsSubMessageWithSubMsgNo), sent.bytes.end());
  }
  free(msg);
  return sent;
}

size_t FakePxm::queued(pxm_mbox_id_t mbox) const {
  auto it = mailboxes_.find(mbox);
  return it == mailboxes_.end() ? 0 : it->second.queue.size();
}

void FakePxm::runUntilIdle(PxmMainloop& loop) {
  auto previous = std::move(idleHook_);
  idleHook_ = [&loop] { loop.stopLoop(); };
  loop.run();
  idleHook_ = std::move(previous);
}

size_t FakePxm::leakedMessages() const {
  size_t accounted = 0;
  for (const auto& [id, box] : mailboxes_) accounted += box.queue.size();
  for (const auto& [ref, m] : monitors_) accounted += m.msg != nullptr ? 1 : 0;
  return live_.size() - accounted;
}

}  // namespace kvn::testing
