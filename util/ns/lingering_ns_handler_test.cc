#include "util/ns/lingering_ns_handler.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace kvn {
namespace {

// The publisher's own cases (publish once, an agent back before the hand-over, a second loss)
// are in agent_service_publisher_test, the hand-over itself in NamesHandoverTest; these are the
// handler's alone.
// A name server subscription table that keeps the callbacks, as NsHandler does, and lets the
// test play the indications.
class FakeSubscriber : public NsSubscribe {
 public:
  void subscribe(const std::string& name, Callback callback) override {
    subscribed.push_back(name);
    callbacks.emplace(name, std::move(callback));
  }
  void unsubscribe(const std::string& name) override {
    unsubscribed.push_back(name);
    callbacks.erase(name);
  }
  // A publication of `name` by `huntpath` is seen; false when nobody is subscribed.
  bool notify(const std::string& name, const std::string& huntpath) {
    auto it = callbacks.find(name);
    if (it == callbacks.end()) return false;
    const Callback call = it->second;
    call({name, huntpath});
    return true;
  }

  std::vector<std::string> subscribed, unsubscribed;
  std::map<std::string, Callback> callbacks;
};

class LingeringNsHandlerTest : public ::testing::Test {
 protected:
  FakeSubscriber subscriber;
  std::vector<std::string> published, unpublished;
  std::unique_ptr<LingeringNsHandler> names = std::make_unique<LingeringNsHandler>(
      [this](const std::string& n) { published.push_back(n); },
      [this](const std::string& n) { unpublished.push_back(n); }, &subscriber, "tc-a");
};

using Names = std::vector<std::string>;

TEST_F(LingeringNsHandlerTest, LingeringTwiceSubscribesOnceAndTheHandOverEndsIt) {
  names->publish("n");
  names->linger("n");
  names->linger("n");
  EXPECT_EQ(subscriber.subscribed, Names{"n"});
  ASSERT_TRUE(subscriber.notify("n", "tc-b"));
  EXPECT_EQ(subscriber.unsubscribed, Names{"n"});
  EXPECT_FALSE(names->isLingering("n"));
  EXPECT_FALSE(names->isPublished("n"));

  // Published again later, it is a fresh publication.
  names->publish("n");
  EXPECT_EQ(published, (Names{"n", "n"}));
}

TEST_F(LingeringNsHandlerTest, DestructionEndsSubscriptionsThenWithdrawsEverything) {
  names->publish("kept");
  names->publish("lingers");
  names->linger("lingers");
  auto orphan = subscriber.callbacks.at("lingers");
  names.reset();
  EXPECT_EQ(subscriber.unsubscribed, Names{"lingers"});
  EXPECT_EQ(unpublished, (Names{"kept", "lingers"}));

  // A callback that outlived its handler does nothing.
  orphan({"lingers", "tc-b"});
  EXPECT_EQ(unpublished.size(), 2u);
}

}  // namespace
}  // namespace kvn
