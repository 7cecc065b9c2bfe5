// The name server through libpxm, against a real hub in a private run directory, and the pxm-ns
// tool as a process.
#include "pxm/ns.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <cstring>
#include <string>
#include <vector>

#include "pxm/frame.h"
#include "pxm/ns_admin.h"
#include "pxm/ns_frame.h"
#include "tests/e2e/process.h"
#include "tests/e2e/pxm_hub.h"
#include "util/testing/raw_hub_client.h"

namespace pxm {
namespace {

using kvn::e2e::OwnHub;
using kvn::e2e::Process;
using kvn::testing::RawHubClient;

constexpr uint32_t kLimitMs = 10000;  // generous bound for anything that must arrive

int32_t init() { return pxm_init(2, 0, nullptr, nullptr, 0); }

// One received indication, copied out.
struct Indication {
  uint32_t msgno = 0;
  uint32_t subscription = 0;
  uint64_t tag = 0;
  uint32_t publisher = 0;
  std::string service;
  std::string huntpath;
};

// The next name server message for this thread's mailbox, or msgno 0 after the time-out.
Indication receiveIndication(uint32_t timeoutMs = kLimitMs) {
  static const uint32_t filter[] = {3, VOLD_SUBSCRIBE_RSP, VOLD_SERVICE_ADDED_IND,
                                    VOLD_SERVICE_REMOVED_IND};
  Indication ind;
  pxm_msg* msg = pxm_receive(filter, timeoutMs, PXM_FROM_ALL);
  if (!msg) return ind;
  const char* m = reinterpret_cast<const char*>(msg);
  std::memcpy(&ind.msgno, m, 4);
  std::memcpy(&ind.subscription, m + 4, 4);
  if (ind.msgno == VOLD_SUBSCRIBE_RSP) {
    std::memcpy(&ind.tag, m + 8, 8);
  } else {
    uint32_t nameSize;
    std::memcpy(&ind.publisher, m + 8, 4);
    std::memcpy(&nameSize, m + 12, 4);
    ind.service = m + NS_SERVICE_IND_HEADER;
    ind.huntpath = m + NS_SERVICE_IND_HEADER + nameSize;
  }
  pxm_free(&msg);
  return ind;
}

// A lookup result as "huntpath#mbox" entries, the list freed through its head.
std::vector<std::string> lookup(const char* service, int32_t max = -1) {
  std::vector<std::string> out;
  pxm_msg* list = ns_lookup(service, "", PXM_MY_MBOX, max, 1000);
  for (pxm_msg* m = list; m;) {
    const auto* e = reinterpret_cast<const ns_lookup_entry*>(m);
    EXPECT_EQ(std::string(e->names), service);
    EXPECT_EQ(e->name_length, std::strlen(service) + 1);
    out.push_back(std::string(e->names + e->name_length) + "#" + std::to_string(e->mbox));
    EXPECT_EQ(pxm_size(m), NS_LOOKUP_ENTRY_HEADER + e->name_length + out.back().size() -
                               std::to_string(e->mbox).size());
    m = e->next;
  }
  pxm_free(&list);
  return out;
}

std::string entry(const char* huntpath, pxm_mbox_id_t mbox) {
  return std::string(huntpath) + "#" + std::to_string(mbox);
}

class NsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(hub_.running());
    ASSERT_EQ(init(), 0);
    self_ = pxm_create_mailbox("watcher", 0);
    ASSERT_NE(self_, PXM_NO_MBOX);
  }
  void TearDown() override { pxm_exit(); }

  // A mailbox of this process that publishes `service`; its id.
  static pxm_mbox_id_t publisher(const char* name, const char* service) {
    const pxm_mbox_id_t id = pxm_create_mailbox(name, 0);
    EXPECT_EQ(ns_publish(service, "", id, ""), NS_OK) << name;
    return id;
  }

  OwnHub hub_;
  pxm_mbox_id_t self_ = PXM_NO_MBOX;
};

TEST(NsWithoutHubTest, CallsFailWithoutInit) {
  EXPECT_EQ(ns_publish("svc", "", 1, ""), NS_NO_HUB);
  EXPECT_EQ(ns_subscribe("svc", "legacy", 0, 1), NS_NO_HUB);
  EXPECT_EQ(ns_lookup("svc", "", 1, -1, 10), nullptr);
  EXPECT_EQ(pxm_ns_list(10), nullptr);
}

TEST_F(NsTest, PublishLookupUnpublishBySeveralPublishers) {
  EXPECT_TRUE(lookup("svc").empty());
  EXPECT_EQ(ns_publish("svc", "", self_, ""), NS_OK);
  EXPECT_EQ(ns_publish("svc", "", PXM_MY_MBOX, ""), NS_OK) << "again, the same mailbox";
  EXPECT_EQ(lookup("svc"), std::vector<std::string>{entry("watcher", self_)});

  EXPECT_EQ(ns_unpublish("svc", "", self_, ""), NS_OK);
  EXPECT_TRUE(lookup("svc").empty());
  EXPECT_EQ(ns_unpublish("svc", "", self_, ""), NS_NOT_PUBLISHED);

  // Several publishers of one name, and a list freed through its head.
  const pxm_mbox_id_t ida = publisher("pub-a", "shared");
  const pxm_mbox_id_t idb = publisher("pub-b", "shared");
  EXPECT_EQ(ns_unpublish("shared", "", self_, ""), NS_NOT_PUBLISHED) << "not ours";
  EXPECT_EQ(lookup("shared"), (std::vector<std::string>{entry("pub-a", ida), entry("pub-b", idb)}));
  EXPECT_EQ(lookup("shared", 1), std::vector<std::string>{entry("pub-a", ida)});

  // Freeing an inner entry first leaves a shorter list that the head still frees whole.
  pxm_msg* list = ns_lookup("shared", "", self_, -1, 1000);
  ASSERT_NE(list, nullptr);
  pxm_msg* second = reinterpret_cast<ns_lookup_entry*>(list)->next;
  ASSERT_NE(second, nullptr);
  pxm_free(&second);
  pxm_free(&list);
  EXPECT_EQ(list, nullptr);
}

TEST_F(NsTest, SubscriptionBeforeAndAfterPublicationAndUnsubscribed) {
  ASSERT_EQ(ns_subscribe("svc", "legacy", 41, self_), NS_OK);
  const Indication rsp = receiveIndication();
  ASSERT_EQ(rsp.msgno, VOLD_SUBSCRIBE_RSP);
  EXPECT_EQ(rsp.tag, 41u);

  const pxm_mbox_id_t ida = publisher("pub-a", "svc");
  Indication added = receiveIndication();
  EXPECT_EQ(added.msgno, VOLD_SERVICE_ADDED_IND);
  EXPECT_EQ(added.subscription, rsp.subscription);
  EXPECT_EQ(added.service, "svc");
  EXPECT_EQ(added.huntpath, "pub-a");
  EXPECT_EQ(added.publisher, ida);

  // A later subscription hears of what exists already.
  const pxm_mbox_id_t idb = publisher("pub-b", "svc");
  ASSERT_EQ(receiveIndication().huntpath, "pub-b");
  ASSERT_EQ(ns_subscribe("svc", "legacy", 42, self_), NS_OK);
  const Indication rsp2 = receiveIndication();
  EXPECT_EQ(rsp2.tag, 42u);
  EXPECT_NE(rsp2.subscription, rsp.subscription);
  EXPECT_EQ(receiveIndication().huntpath, "pub-a");
  EXPECT_EQ(receiveIndication().huntpath, "pub-b");
  EXPECT_EQ(ns_unsubscribe(rsp2.subscription, self_), NS_OK);
  EXPECT_EQ(ns_unsubscribe(rsp2.subscription, self_), NS_NOT_SUBSCRIBED);

  // Unsubscribed: publishers that go are unheard, and their names go with them.
  EXPECT_EQ(ns_unsubscribe(rsp.subscription, self_), NS_OK);
  pxm_delete_mailbox(ida);
  pxm_delete_mailbox(idb);
  EXPECT_EQ(receiveIndication(300).msgno, 0u);
  EXPECT_TRUE(lookup("svc").empty());
}

TEST_F(NsTest, BadArgumentsAreRefused) {
  const std::string overlong(NS_MAX_NAME + 1, 'x');
  EXPECT_EQ(ns_publish(nullptr, "", self_, ""), NS_BAD_ARGUMENT);
  EXPECT_EQ(ns_publish("", "", self_, ""), NS_BAD_ARGUMENT);
  EXPECT_EQ(ns_publish(overlong.c_str(), "", self_, ""), NS_BAD_ARGUMENT);
  EXPECT_EQ(ns_publish("svc", overlong.c_str(), self_, ""), NS_BAD_ARGUMENT);
  EXPECT_EQ(ns_subscribe(overlong.c_str(), "legacy", 0, self_), NS_BAD_ARGUMENT);
  EXPECT_EQ(ns_unsubscribe(12345, self_), NS_NOT_SUBSCRIBED);
  EXPECT_EQ(ns_lookup(overlong.c_str(), "", self_, -1, 1000), nullptr);

  // Any other bytes make a name, the longest one included.
  std::string garbage(NS_MAX_NAME, '\0');
  for (size_t i = 0; i < garbage.size(); ++i) garbage[i] = static_cast<char>(1 + (i * 37) % 255);
  EXPECT_EQ(ns_publish(garbage.c_str(), "\x01\x7f", self_, nullptr), NS_OK);
  EXPECT_EQ(lookup(garbage.c_str()).size(), 1u);
}

TEST_F(NsTest, MalformedRequestsCutOffTheSenderAndTheHubGoesOn) {
  ASSERT_EQ(ns_publish("svc", "", self_, ""), NS_OK);
  RawHubClient raw(hub_.socketPath());
  ASSERT_TRUE(raw.connected());
  raw.frame(kHello, {1, kProtocolVersion, 0});
  ASSERT_EQ(raw.replyValue(), kProtocolVersion);
  raw.frame(kCreate, {2}, "raw");
  const uint32_t rawBox = raw.replyValue();
  ASSERT_NE(rawBox, PXM_NO_MBOX);
  raw.frame(kNsPublish, {3, rawBox, 3}, "raw");
  EXPECT_EQ(raw.replyValue(), uint32_t{NS_OK});
  EXPECT_EQ(lookup("raw").size(), 1u);
  // A length that points past the end of the frame.
  raw.frame(kNsSubscribe, {4, rawBox, 0, 0, 0xFFFFFFF0u}, "svc");
  EXPECT_TRUE(raw.cutOff());
  EXPECT_TRUE(lookup("raw").empty()) << "its names went with it";
  EXPECT_EQ(lookup("svc").size(), 1u);
  EXPECT_EQ(ns_publish("more", "", self_, ""), NS_OK);
}

TEST_F(NsTest, ToolListsAndEndsItsWatchOnInterrupt) {
  const auto tool = [this](const char* name, std::vector<std::string> args) {
    return std::make_unique<Process>(hub_.dir(), name, PXM_NS_PATH, std::move(args));
  };
  auto watch = tool("watch", {"watch", "svc"});
  ASSERT_TRUE(kvn::e2e::eventually([&] {
    return kvn::e2e::contains(watch->out(), "watching\tsvc\n");
  })) << watch->out();

  ASSERT_EQ(ns_publish("svc", "", self_, ""), NS_OK);
  ASSERT_EQ(ns_publish("a name", "", self_, ""), NS_OK);
  const std::string id = std::to_string(self_);
  auto list = tool("list", {"list"});
  EXPECT_EQ(list->wait(), 0);
  EXPECT_EQ(list->out(), "a name\twatcher\t" + id + "\nsvc\twatcher\t" + id + "\n");
  EXPECT_EQ(tool("missing", {"lookup", "nothing"})->wait(), 1);
  EXPECT_EQ(tool("usage", {"watch"})->wait(), 2);
  watch->signal(SIGINT);
  EXPECT_EQ(watch->wait(), 0);
}

}  // namespace
}  // namespace pxm
