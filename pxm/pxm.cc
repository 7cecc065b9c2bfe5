// The C interface of libpxm: checks the caller's arguments and hands on to the process's
// Client. Messages can be allocated and freed without a hub; everything else needs pxm_init.
#include "pxm/pxm.h"

#include <pthread.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <mutex>
#include <string>

#include "pxm/client.h"
#include "pxm/message_block.h"
#include "pxm/misuse.h"

namespace {

using pxm::Client;
using pxm::MessageBlock;
using pxm::misuse;

std::mutex g_mu;
std::string* g_refusal = new std::string;  // the last pxm_init's refusal, under g_mu
// Heap-held so that a forked child can abandon its parent's connection without running any
// of its destructors.
std::shared_ptr<Client>* g_client = new std::shared_ptr<Client>;

void beforeFork() {
  g_mu.lock();
  MessageBlock::lockRegistry();
}

void afterForkInParent() {
  MessageBlock::unlockRegistry();
  g_mu.unlock();
}

// The child shares the parent's socket; it must not speak on it. It drops the connection
// (closing only its own copy of the descriptor) and may call pxm_init afresh.
void afterForkInChild() {
  MessageBlock::unlockRegistry();
  if (*g_client) {
    ::close((*g_client)->fd());
    g_client = new std::shared_ptr<Client>;  // the old one is left behind on purpose
  }
  g_mu.unlock();
}

// Registered when the library is loaded, so that a fork never copies a lock held by another
// thread, whether or not the process has called pxm_init.
const bool g_forkHandlers = ::pthread_atfork(beforeFork, afterForkInParent, afterForkInChild) == 0;

std::shared_ptr<Client> current(const char* function) {
  std::shared_ptr<Client> client;
  {
    std::lock_guard<std::mutex> lock(g_mu);
    client = *g_client;
  }
  if (!client) misuse(function, "pxm_init has not been called");
  return client;
}

// The block behind a message pointer that the caller hands over.
MessageBlock* takeMessage(union pxm_msg** msg, const char* function, bool nullAllowed) {
  if (!msg) {
    misuse(function, "null message pointer address");
    return nullptr;
  }
  if (!*msg) {
    if (!nullAllowed) misuse(function, "no message (null, or freed already)");
    return nullptr;
  }
  MessageBlock* block = MessageBlock::find(*msg);
  if (!block) {
    misuse(function, "not a message of this library, or freed already");
    return nullptr;
  }
  *msg = nullptr;
  return block;
}

MessageBlock* checked(union pxm_msg* msg, const char* function) {
  MessageBlock* block = MessageBlock::find(msg);
  if (!block)
    misuse(function, msg ? "not a message of this library, or freed already" : "null message");
  return block;
}

}  // namespace

namespace pxm {
std::shared_ptr<Client> currentClient(const char* function) { return current(function); }
}  // namespace pxm

extern "C" {

int32_t pxm_init(int32_t mailbox_count, int32_t alloc_scheme, const void* scheme_params,
                 const char* name_space, uint32_t flags) {
  // The mailbox count, allocation scheme and flags are the platform's tuning; the hub needs
  // none of them.
  (void)mailbox_count;
  (void)alloc_scheme;
  (void)scheme_params;
  (void)flags;
  (void)g_forkHandlers;
  std::lock_guard<std::mutex> lock(g_mu);
  if (*g_client) {
    g_refusal->clear();
    return PXM_INIT_ALREADY;
  }
  return Client::connect(name_space, g_client, g_refusal);
}

const char* pxm_init_refusal(void) {
  std::lock_guard<std::mutex> lock(g_mu);
  return g_refusal->c_str();
}

void pxm_exit(void) {
  std::shared_ptr<Client> client;
  {
    std::lock_guard<std::mutex> lock(g_mu);
    client.swap(*g_client);
  }
  if (client) client->shutdown();
}

pxm_mbox_id_t pxm_create_mailbox(const char* name, uint32_t flags) {
  (void)flags;
  auto client = current("pxm_create_mailbox");
  return client ? client->createMailbox(name) : PXM_NO_MBOX;
}

void pxm_delete_mailbox(pxm_mbox_id_t mbox) {
  if (auto client = current("pxm_delete_mailbox")) client->deleteMailbox(mbox);
}

union pxm_msg* pxm_alloc(size_t size, uint32_t msgno) {
  MessageBlock* block = MessageBlock::create(size, msgno);
  if (!block) {
    if (size < sizeof(uint32_t) || size > MessageBlock::kMaxSize)
      misuse("pxm_alloc", "size out of range");
    return nullptr;
  }
  return block->payload();
}

void pxm_free(union pxm_msg** msg) {
  if (MessageBlock* block = takeMessage(msg, "pxm_free", true)) block->release();
}

void pxm_send(union pxm_msg** msg, pxm_mbox_id_t to, pxm_mbox_id_t from) {
  MessageBlock* block = takeMessage(msg, "pxm_send", false);
  if (!block) return;
  if (auto client = current("pxm_send"))
    client->send(block, to, from);
  else
    block->release();
}

union pxm_msg* pxm_receive(const uint32_t* filter, uint32_t tmo_ms, pxm_mbox_id_t from) {
  auto client = current("pxm_receive");
  return client ? client->receive(filter, tmo_ms, from) : nullptr;
}

pxm_mbox_id_t pxm_sender(union pxm_msg* msg) {
  MessageBlock* block = checked(msg, "pxm_sender");
  return block ? block->route().from : PXM_NO_MBOX;
}

pxm_mbox_id_t pxm_receiver(union pxm_msg* msg) {
  MessageBlock* block = checked(msg, "pxm_receiver");
  return block ? block->route().to : PXM_NO_MBOX;
}

size_t pxm_size(union pxm_msg* msg) {
  MessageBlock* block = checked(msg, "pxm_size");
  return block ? block->size() : 0;
}

int32_t pxm_setsize(union pxm_msg* msg, size_t size) {
  MessageBlock* block = checked(msg, "pxm_setsize");
  return block && block->resize(size) ? 1 : 0;
}

pxm_mbox_id_t pxm_locate(const char* name) {
  if (!name) {
    misuse("pxm_locate", "null name");
    return PXM_NO_MBOX;
  }
  auto client = current("pxm_locate");
  return client ? client->locate(name) : PXM_NO_MBOX;
}

void pxm_locate_async(const char* name, union pxm_msg** msg, pxm_mbox_id_t from) {
  MessageBlock* block = takeMessage(msg, "pxm_locate_async", false);
  if (!block) return;
  auto client = name ? current("pxm_locate_async") : nullptr;
  if (!name) misuse("pxm_locate_async", "null name");
  if (client)
    client->locateAsync(name, block, from);
  else
    block->release();
}

int32_t pxm_get_name(pxm_mbox_id_t mbox, char* name, uint32_t size) {
  if (!name || size == 0) {
    misuse("pxm_get_name", "no room for the name");
    return 0;
  }
  name[0] = '\0';
  auto client = current("pxm_get_name");
  std::string text;
  if (!client || !client->getName(mbox, &text)) return 0;
  if (text.size() >= size) return 0;  // does not fit: no partial name
  std::memcpy(name, text.c_str(), text.size() + 1);
  return 1;
}

pxm_monitor_id_t pxm_monitor(pxm_mbox_id_t mbox, union pxm_msg** msg) {
  MessageBlock* block = nullptr;
  if (msg && *msg) {
    block = takeMessage(msg, "pxm_monitor", false);
    if (!block) return 0;
  }
  auto client = current("pxm_monitor");
  if (!client) {
    if (block) block->release();
    return 0;
  }
  return client->monitor(mbox, block);
}

void pxm_unmonitor(pxm_monitor_id_t monitor) {
  if (auto client = current("pxm_unmonitor")) client->unmonitor(monitor);
}

}  // extern "C"
