#include "pxm/message_block.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <unordered_set>

namespace pxm {

namespace {

constexpr uint32_t kMagic = 0x6d78704bu;
constexpr uint32_t kDeadMagic = 0x6d78702du;
constexpr size_t kSlack = 64;

static_assert(sizeof(MessageBlock) == 32, "payload follows a 32-byte block head");

std::mutex& registryMutex() {
  static std::mutex* mu = new std::mutex;  // never destroyed: used until the very end
  return *mu;
}

std::unordered_set<const void*>& registry() {
  static auto* live = new std::unordered_set<const void*>;
  return *live;
}

}  // namespace

MessageBlock* MessageBlock::create(size_t size, uint32_t msgno) {
  if (size < kMinMessage || size > kMaxSize) return nullptr;
  // Some room to spare, so that a message can grow a little after it was allocated.
  const size_t capacity = std::min(kMaxSize, (size + kSlack - 1) / kSlack * kSlack);
  void* mem = std::malloc(sizeof(MessageBlock) + capacity);
  if (!mem) return nullptr;
  auto* block = new (mem) MessageBlock;
  block->magic_ = kMagic;
  block->chained_ = 0;
  block->capacity_ = capacity;
  block->header_ = FrameHeader{static_cast<uint32_t>(sizeof(Route) + size), kSend, 0};
  block->route_ = Route{PXM_NO_MBOX, PXM_NO_MBOX};
  std::memset(block->bytes(), 0, size);
  std::memcpy(block->bytes(), &msgno, sizeof msgno);
  {
    std::lock_guard<std::mutex> lock(registryMutex());
    registry().insert(block);
  }
  return block;
}

MessageBlock* MessageBlock::fromWire(const Route& route, const char* message, size_t size) {
  if (size < kMinMessage || size > kMaxSize) return nullptr;
  void* mem = std::malloc(sizeof(MessageBlock) + size);
  if (!mem) return nullptr;
  auto* block = new (mem) MessageBlock;
  block->magic_ = kMagic;
  block->chained_ = 0;
  block->capacity_ = size;
  block->header_ = FrameHeader{static_cast<uint32_t>(sizeof(Route) + size), kSend, 0};
  block->route_ = route;
  std::memcpy(block->bytes(), message, size);
  {
    std::lock_guard<std::mutex> lock(registryMutex());
    registry().insert(block);
  }
  return block;
}

MessageBlock* MessageBlock::find(const pxm_msg* msg) {
  if (!msg) return nullptr;
  const auto* block = reinterpret_cast<const MessageBlock*>(msg) - 1;
  std::lock_guard<std::mutex> lock(registryMutex());
  if (!registry().count(block)) return nullptr;
  return const_cast<MessageBlock*>(block);
}

void MessageBlock::unregister() {
  std::lock_guard<std::mutex> lock(registryMutex());
  registry().erase(this);
}

void MessageBlock::destroy() {
  magic_ = kDeadMagic;
  this->~MessageBlock();
  std::free(this);
}

void MessageBlock::release() {
  // A list is walked, not recursed into, and each link is checked against the registry
  // before it is followed: a caller may have freed an inner entry already.
  for (MessageBlock* block = this; block;) {
    MessageBlock* next = nullptr;
    if (block->chained_ && block->capacity_ >= sizeof(pxm_msg*)) {
      pxm_msg* link;
      std::memcpy(&link, block->bytes(), sizeof link);
      next = find(link);
    }
    block->unregister();
    block->destroy();
    block = next;
  }
}

bool MessageBlock::resize(size_t size) {
  if (size < kMinMessage || size > capacity_) return false;
  const size_t old = this->size();
  if (size > old) std::memset(bytes() + old, 0, size - old);
  header_.length = static_cast<uint32_t>(sizeof(Route) + size);
  return true;
}

void MessageBlock::lockRegistry() { registryMutex().lock(); }
void MessageBlock::unlockRegistry() { registryMutex().unlock(); }

}  // namespace pxm
