#include "util/ns/ns_handler.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "pxm/ns.h"
#include "tracing/log_capture.h"
#include "util/testing/fake_pxm.h"

namespace kvn {
namespace {

using kvn::log::Level;
using kvn::log::LogCapture;
using kvn::testing::FakePxm;

constexpr pxm_mbox_id_t kOwn = 0x10001;

// Records the ns_* calls; publish and unpublish answer with the next code of their queue.
class RecordingNsClient : public NsClient {
 public:
  struct Subscribed {
    std::string service;
    std::string kind;
    uint64_t tag;
    pxm_mbox_id_t mbox;
  };

  int32_t publish(const char* service, const char* attributes, pxm_mbox_id_t mbox,
                  const char* extra) override {
    EXPECT_STREQ(attributes, "");
    EXPECT_STREQ(extra, "");
    EXPECT_EQ(mbox, kOwn);
    published.push_back(service);
    return publishResult;
  }
  int32_t unpublish(const char* service, const char* attributes, pxm_mbox_id_t mbox,
                    const char* extra) override {
    EXPECT_STREQ(attributes, "");
    EXPECT_EQ(mbox, kOwn);
    unpublished.push_back(service);
    return unpublishResult;
  }
  int32_t subscribe(const char* service, const char* kind, uint64_t tag,
                    pxm_mbox_id_t mbox) override {
    subscribed.push_back({service, kind, tag, mbox});
    return 0;
  }
  int32_t unsubscribe(uint32_t id, pxm_mbox_id_t mbox) override {
    EXPECT_EQ(mbox, kOwn);
    unsubscribed.push_back(id);
    return 0;
  }
  pxm_msg* lookup(const char* service, const char* attributes, pxm_mbox_id_t mbox,
                  int32_t maxResults, int32_t tmoMs) override {
    EXPECT_STREQ(attributes, "");
    EXPECT_EQ(maxResults, -1);
    EXPECT_EQ(tmoMs, 1000);
    lookedUp.push_back(service);
    pxm_msg* head = lookupResult;
    lookupResult = nullptr;
    return head;
  }

  std::vector<std::string> published, unpublished, lookedUp;
  std::vector<Subscribed> subscribed;
  std::vector<uint32_t> unsubscribed;
  int32_t publishResult = 0;
  int32_t unpublishResult = 0;
  pxm_msg* lookupResult = nullptr;
};

class NsHandlerTest : public ::testing::Test {
 protected:
  void TearDown() override {
    for (pxm_msg*& m : tails_) pxm_.free(m);
    EXPECT_EQ(pxm_.leakedMessages(), 0u);
    EXPECT_EQ(pxm_.badFrees(), 0);
  }

  // Hands a message to the handler as the main loop does, and frees it.
  void deliver(pxm_msg* msg) {
    pxm_msg* m = msg;
    ns_.handleMessage(PXM_NO_MBOX, m, pxm_.size(m));
    pxm_.free(m);
  }
  void subscribeRsp(uint32_t id, uint64_t tag) {
    pxm_msg* m = pxm_.alloc(16, VOLD_SUBSCRIBE_RSP);
    std::memcpy(reinterpret_cast<char*>(m) + 4, &id, 4);
    std::memcpy(reinterpret_cast<char*>(m) + 8, &tag, 8);
    deliver(m);
  }
  // An indication with the given name length field; `size` 0: exactly what the texts need.
  void indication(uint32_t msgno, uint32_t id, const std::string& service,
                  const std::string& huntpath, uint32_t nameLength = 0, size_t size = 0) {
    const size_t whole = NS_SERVICE_IND_HEADER + service.size() + 1 + huntpath.size() + 1;
    pxm_msg* m = pxm_.alloc(size ? size : whole, msgno);
    char* b = reinterpret_cast<char*>(m);
    const uint32_t words[4] = {id, 77, nameLength ? nameLength : uint32_t(service.size() + 1),
                               uint32_t(huntpath.size() + 1)};
    // Everything after the number, cut to the message's size.
    std::string rest(reinterpret_cast<const char*>(words), sizeof words);
    rest += service + '\0' + huntpath + '\0';
    rest.resize(std::min(rest.size(), pxm_.size(m) - 4));
    std::memcpy(b + 4, rest.data(), rest.size());
    deliver(m);
  }
  // A lookup list of entries as the library makes it; the fake frees only the head through
  // the handler, so the rest is freed at the end of the test.
  pxm_msg* list(const std::vector<std::pair<std::string, std::string>>& entries) {
    pxm_msg* head = nullptr;
    pxm_msg** link = &head;
    for (const auto& e : entries) {
      const size_t size = NS_LOOKUP_ENTRY_HEADER + e.first.size() + 1 + e.second.size() + 1;
      pxm_msg* m = pxm_.alloc(size, NS_LOOKUP_ENTRY);
      auto* entry = reinterpret_cast<ns_lookup_entry*>(m);
      entry->next = nullptr;
      entry->mbox = 5;
      entry->name_length = e.first.size() + 1;
      std::memcpy(entry->names, e.first.c_str(), e.first.size() + 1);
      std::memcpy(entry->names + e.first.size() + 1, e.second.c_str(), e.second.size() + 1);
      *link = m;
      link = &entry->next;
      if (m != head) tails_.push_back(m);
    }
    return head;
  }

  FakePxm pxm_;
  RecordingNsClient client_;
  NsHandler ns_{kOwn, &pxm_, &client_};
  std::vector<NsSubscribe::Entry> heard_;
  std::vector<pxm_msg*> tails_;
};

TEST_F(NsHandlerTest, PublishKeepsOnlySuccessesAndUnpublishForgetsInAnyCase) {
  LogCapture cap;
  ns_.publish("a");
  ns_.publish("a");
  client_.publishResult = 7;
  ns_.publish("b");
  EXPECT_TRUE(cap.has(Level::Error, "Nameserver publish failed with code 7\n"));
  EXPECT_EQ(ns_.getPublishedNames(), (std::vector<std::string>{"a", "a"}));

  client_.unpublishResult = 3;
  ns_.unpublish("a");
  EXPECT_TRUE(cap.has(Level::Error, "Nameserver unpublish failed with code 3\n"));
  EXPECT_TRUE(ns_.getPublishedNames().empty()) << "every equal name goes, failure or not";
  EXPECT_EQ(client_.published, (std::vector<std::string>{"a", "a", "b"}));
}

TEST_F(NsHandlerTest, SubscriptionsAreTaggedAndAnsweredIndicationsReachTheCallback) {
  ns_.subscribe("x", [this](const NsSubscribe::Entry& e) { heard_.push_back(e); });
  ns_.subscribe("x", [](const NsSubscribe::Entry&) { ADD_FAILURE() << "second callback kept"; });
  ns_.subscribe("y", [](const NsSubscribe::Entry&) {});
  ASSERT_EQ(client_.subscribed.size(), 2u) << "a name is subscribed once";
  const auto& x = client_.subscribed[0];
  EXPECT_TRUE(x.service == "x" && x.kind == "legacy" && x.tag == 0 && x.mbox == kOwn);
  EXPECT_EQ(client_.subscribed[1].tag, 1u);

  indication(VOLD_SERVICE_ADDED_IND, 40, "x", "early");
  subscribeRsp(40, 0);
  indication(VOLD_SERVICE_ADDED_IND, 40, "x", "tc-b");
  ASSERT_EQ(heard_.size(), 1u);
  EXPECT_EQ(heard_[0], NsSubscribe::Entry("x", "tc-b"));

  indication(VOLD_SERVICE_REMOVED_IND, 40, "x", "tc-b");
  deliver(pxm_.alloc(8, 0x1234));
  EXPECT_EQ(heard_.size(), 1u);

  ns_.unsubscribe("x");
  EXPECT_EQ(client_.unsubscribed, std::vector<uint32_t>{40});
  indication(VOLD_SERVICE_ADDED_IND, 40, "x", "tc-c");
  EXPECT_EQ(heard_.size(), 1u);
}

TEST_F(NsHandlerTest, AnswerToAnUnknownOrCancelledTagIsUnsubscribedOnce) {
  subscribeRsp(9, 1234);
  EXPECT_EQ(client_.unsubscribed, std::vector<uint32_t>{9});

  ns_.subscribe("x", [this](const NsSubscribe::Entry& e) { heard_.push_back(e); });
  ns_.unsubscribe("x");  // still pending: nothing to tell the name server yet
  EXPECT_EQ(client_.unsubscribed.size(), 1u);
  subscribeRsp(10, 0);
  EXPECT_EQ(client_.unsubscribed, (std::vector<uint32_t>{9, 10}));

  // Subscribed again, the name gets a new tag and a new callback.
  ns_.subscribe("x", [this](const NsSubscribe::Entry& e) { heard_.push_back(e); });
  EXPECT_EQ(client_.subscribed.back().tag, 1u);
  subscribeRsp(11, 1);
  indication(VOLD_SERVICE_ADDED_IND, 11, "x", "tc-b");
  EXPECT_EQ(heard_.size(), 1u);
}

TEST_F(NsHandlerTest, IndicationsThatPointPastTheirEndAreDropped) {
  ns_.subscribe("svc", [this](const NsSubscribe::Entry& e) { heard_.push_back(e); });
  subscribeRsp(1, 0);
  indication(VOLD_SERVICE_ADDED_IND, 1, "svc", "tc", /*nameLength=*/0xFFFFFFF0u);
  indication(VOLD_SERVICE_ADDED_IND, 1, "svc", "tc", /*nameLength=*/8);  // one byte too far
  indication(VOLD_SERVICE_ADDED_IND, 1, "svc", "tc", 0, /*size=*/NS_SERVICE_IND_HEADER - 1);
  subscribeRsp(1, 0);
  deliver(pxm_.alloc(12, VOLD_SUBSCRIBE_RSP));
  EXPECT_TRUE(heard_.empty());

  // A huntpath without its terminator is read up to the end of the message and no further.
  indication(VOLD_SERVICE_ADDED_IND, 1, "svc", "tc-b", 0, NS_SERVICE_IND_HEADER + 4 + 3);
  ASSERT_EQ(heard_.size(), 1u);
  EXPECT_EQ(heard_[0], NsSubscribe::Entry("svc", "tc-"));
}

TEST_F(NsHandlerTest, LookupReadsTheListAndFreesItsHead) {
  const std::vector<NsLookup::Entry> all = {
      {"svc", "tc-a"}, {"svc", ""}, {"svc", "tc-a"}, {"svc", "tc-b"}};
  client_.lookupResult = list(all);
  EXPECT_EQ(ns_.lookup("svc"), all);
  client_.lookupResult = list(all);
  EXPECT_EQ(ns_.lookupFiltered("svc"),
            (std::vector<NsLookup::Entry>{{"svc", "tc-a"}, {"svc", "tc-b"}}));
  EXPECT_TRUE(ns_.lookup("none").empty());
  EXPECT_EQ(client_.lookedUp, (std::vector<std::string>{"svc", "svc", "none"}));
}

}  // namespace
}  // namespace kvn
