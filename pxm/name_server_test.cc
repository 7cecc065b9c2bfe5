#include "pxm/name_server.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "pxm/frame.h"
#include "pxm/ns.h"
#include "pxm/ns_frame.h"

namespace pxm {
namespace {

// An indication or response as a subscriber gets it.
struct Got {
  MailboxDirectory::ConnId conn = 0;
  uint32_t to = 0;
  uint32_t msgno = 0;
  uint32_t subscription = 0;
  uint64_t tag = 0;
  uint32_t publisher = 0;
  std::string service;
  std::string huntpath;
};

std::string texts(uint32_t mbox, std::string_view service, std::string_view rest,
                  std::string_view between = {}) {
  std::string body;
  appendU32(body, mbox);
  body.append(between);
  appendU32(body, static_cast<uint32_t>(service.size()));
  body.append(service);
  body.append(rest);
  return body;
}

class NameServerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    a_ = dir_.create(1, "svc-a");
    b_ = dir_.create(2, "svc-b");
    watcher_ = dir_.create(3, "");
  }

  uint32_t subscribe(const std::string& service, uint64_t tag = 7) {
    EXPECT_EQ(ns_.subscribe(3, watcher_, tag, service, "legacy"), uint32_t{NS_OK});
    return out_.back().subscription;
  }
  // The entries of a lookup answer as "service@huntpath#mbox".
  static std::vector<std::string> entries(const NameServer::Answer& answer) {
    std::vector<std::string> out;
    size_t at = 0;
    for (uint32_t i = 0; i < answer.value; ++i) {
      NsWireEntry e;
      std::memcpy(&e, answer.data.data() + at, sizeof e);
      at += sizeof e;
      const std::string service(answer.data.data() + at);
      const std::string hunt(answer.data.data() + at + e.serviceSize);
      at += e.serviceSize + e.huntpathSize;
      out.push_back(service + "@" + hunt + "#" + std::to_string(e.mbox));
    }
    EXPECT_EQ(at, answer.data.size());
    return out;
  }

  std::vector<Got> out_;
  MailboxDirectory dir_{[](MailboxDirectory::ConnId, std::vector<char>&&) {}};
  NameServer ns_{dir_, [this](MailboxDirectory::ConnId conn, std::vector<char>&& f) {
                   const char* m = f.data() + sizeof(FrameHeader) + sizeof(Route);
                   const size_t size = f.size() - sizeof(FrameHeader) - sizeof(Route);
                   Got g;
                   g.conn = conn;
                   g.to = routeOf(f).to;
                   g.msgno = loadU32(m);
                   g.subscription = loadU32(m + 4);
                   if (g.msgno == VOLD_SUBSCRIBE_RSP) {
                     EXPECT_EQ(size, 16u);
                     std::memcpy(&g.tag, m + 8, 8);
                   } else {
                     g.publisher = loadU32(m + 8);
                     const uint32_t nameSize = loadU32(m + 12), huntSize = loadU32(m + 16);
                     EXPECT_EQ(size, NS_SERVICE_IND_HEADER + nameSize + huntSize);
                     g.service = m + NS_SERVICE_IND_HEADER;
                     g.huntpath = m + NS_SERVICE_IND_HEADER + nameSize;
                     EXPECT_EQ(g.service.size() + 1, nameSize);
                   }
                   out_.push_back(g);
                 }};
  uint32_t a_ = 0, b_ = 0, watcher_ = 0;
};

// Subscriptions that hear of earlier and later publications, through the library and the hub:
// NsTest.SubscriptionBeforeAndAfterPublicationAndUnsubscribed; of withdrawals: NamesHandoverTest.
TEST_F(NameServerTest, OnlyTheOwnerActsAndBadTextsAreRefused) {
  EXPECT_EQ(ns_.publish(2, a_, "kvn", ""), uint32_t{NS_BAD_ARGUMENT}) << "another's mailbox";
  EXPECT_EQ(ns_.publish(1, 999, "kvn", ""), uint32_t{NS_BAD_ARGUMENT}) << "no such mailbox";
  EXPECT_EQ(ns_.publish(1, a_, "kvn", ""), uint32_t{NS_OK});
  EXPECT_EQ(ns_.unpublish(2, b_, "kvn"), uint32_t{NS_NOT_PUBLISHED}) << "b never published it";
  EXPECT_EQ(ns_.unpublish(1, a_, "never"), uint32_t{NS_NOT_PUBLISHED});
  const uint32_t id = subscribe("kvn");
  EXPECT_EQ(ns_.unsubscribe(1, a_, id), uint32_t{NS_NOT_SUBSCRIBED});
  EXPECT_EQ(ns_.unsubscribe(3, watcher_, id + 100), uint32_t{NS_NOT_SUBSCRIBED});
  out_.clear();

  EXPECT_EQ(ns_.publish(1, a_, "", ""), uint32_t{NS_BAD_ARGUMENT});
  EXPECT_EQ(ns_.publish(1, a_, std::string(NS_MAX_NAME + 1, 'x'), ""), uint32_t{NS_BAD_ARGUMENT});
  EXPECT_EQ(ns_.publish(1, a_, std::string("a\0b", 3), ""), uint32_t{NS_BAD_ARGUMENT});
  EXPECT_EQ(ns_.publish(1, a_, "kvn", std::string(NS_MAX_NAME + 1, 'x')),
            uint32_t{NS_BAD_ARGUMENT});
  EXPECT_EQ(ns_.subscribe(3, watcher_, 1, "", "legacy"), uint32_t{NS_BAD_ARGUMENT});
  EXPECT_TRUE(out_.empty());
  EXPECT_EQ(ns_.publicationCount(), 1u);
  EXPECT_EQ(ns_.subscriptionCount(), 1u);
}

TEST_F(NameServerTest, MalformedFramesAreRefusedAndWellFormedOnesAnswered) {
  NameServer::Answer answer;
  const std::string good = texts(a_, "kvn", "");
  EXPECT_TRUE(ns_.handle(1, kNsPublish, good.data(), good.size(), &answer));
  EXPECT_EQ(answer.value, uint32_t{NS_OK});

  // A length far past the end: NsTest.MalformedRequestsCutOffTheSenderAndTheHubGoesOn.
  EXPECT_FALSE(ns_.handle(1, kNsPublish, good.data(), 6, &answer)) << "cut short";
  EXPECT_FALSE(ns_.handle(1, kNsUnsubscribe, good.data(), 7, &answer));
  EXPECT_FALSE(ns_.handle(1, kNsList, good.data(), 1, &answer));
  EXPECT_FALSE(ns_.handle(1, kNameServiceLast, good.data(), good.size(), &answer)) << "unknown";
  const std::string sub = texts(watcher_, "kvn", "legacy", std::string(8, '\0'));
  EXPECT_FALSE(ns_.handle(3, kNsSubscribe, sub.data(), 15, &answer));
  EXPECT_TRUE(ns_.handle(3, kNsSubscribe, sub.data(), sub.size(), &answer));
  EXPECT_EQ(answer.value, uint32_t{NS_OK});
  EXPECT_EQ(ns_.publicationCount(), 1u);
}

TEST_F(NameServerTest, LookupGivesPublishersOldestFirstWithFilterAndLimit) {
  const uint32_t c = dir_.create(1, "svc-c");
  ns_.publish(2, b_, "kvn", "x=1");
  ns_.publish(1, a_, "kvn", "");
  ns_.publish(1, c, "kvn", "x=1");
  ns_.publish(1, c, "other", "");
  NameServer::Answer all, filtered, limited, none;
  ns_.lookup("kvn", "", -1, &all);
  ns_.lookup("kvn", "x=1", -1, &filtered);
  ns_.lookup("kvn", "", 2, &limited);
  ns_.lookup("nothing", "", -1, &none);
  const std::string sb = "kvn@svc-b#" + std::to_string(b_);
  const std::string sa = "kvn@svc-a#" + std::to_string(a_);
  const std::string sc = "kvn@svc-c#" + std::to_string(c);
  EXPECT_EQ(entries(all), (std::vector<std::string>{sb, sa, sc}));
  EXPECT_EQ(entries(filtered), (std::vector<std::string>{sb, sc}));
  EXPECT_EQ(entries(limited), (std::vector<std::string>{sb, sa}));
  EXPECT_EQ(none.value, 0u);

  NameServer::Answer listed;
  ns_.list(&listed);
  EXPECT_EQ(entries(listed),
            (std::vector<std::string>{sb, sa, sc, "other@svc-c#" + std::to_string(c)}));
}

TEST_F(NameServerTest, AGoneMailboxOrProcessWithdrawsItsNamesAndEndsItsSubscriptions) {
  const uint32_t c = dir_.create(1, "svc-c");
  ns_.publish(1, a_, "kvn", "");
  ns_.publish(1, c, "kvn", "");
  ns_.publish(2, b_, "kvn", "");
  ns_.subscribe(1, a_, 1, "kvn", "legacy");  // a watches too, and dies with its process
  subscribe("kvn");
  out_.clear();

  ns_.mailboxGone(c);
  ASSERT_EQ(out_.size(), 2u) << "a and the watcher hear of c";
  EXPECT_EQ(out_[0].msgno, VOLD_SERVICE_REMOVED_IND);
  EXPECT_EQ(out_[0].publisher, c);
  out_.clear();

  ns_.connectionGone(1);
  ASSERT_EQ(out_.size(), 1u) << "a's own subscription went with it";
  EXPECT_EQ(out_[0].to, watcher_);
  EXPECT_EQ(out_[0].publisher, a_);
  EXPECT_EQ(ns_.publicationCount(), 1u);
  EXPECT_EQ(ns_.subscriptionCount(), 1u);

  ns_.connectionGone(3);
  ns_.connectionGone(2);
  EXPECT_EQ(ns_.publicationCount(), 0u);
  EXPECT_EQ(ns_.subscriptionCount(), 0u);
}

}  // namespace
}  // namespace pxm
