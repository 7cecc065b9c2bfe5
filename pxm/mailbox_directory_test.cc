#include "pxm/mailbox_directory.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "pxm/frame.h"

namespace pxm {
namespace {

constexpr uint32_t kNo = MailboxDirectory::kNoMailbox;

struct Delivered {
  MailboxDirectory::ConnId conn;
  uint32_t to;
  uint32_t from;
  uint32_t msgno;
};

class MailboxDirectoryTest : public ::testing::Test {
 protected:
  std::vector<char> frame(uint32_t msgno, uint32_t to = kNo, uint32_t from = kNo) {
    return makeDeliverFrame(to, from, &msgno, sizeof msgno);
  }

  std::vector<Delivered> out_;
  MailboxDirectory dir_{[this](MailboxDirectory::ConnId conn, std::vector<char>&& f) {
    const Route route = routeOf(f);
    out_.push_back({conn, route.to, route.from, loadU32(f.data() + 16)});
  }};
};

TEST_F(MailboxDirectoryTest, NameRules) {
  const uint32_t a = dir_.create(1, "a");
  const uint32_t anon1 = dir_.create(1, "");
  const uint32_t anon2 = dir_.create(1, "");
  EXPECT_NE(anon1, kNo);
  EXPECT_GT(anon2, anon1) << "nameless mailboxes do not clash";
  EXPECT_EQ(dir_.locate(""), kNo);
  EXPECT_EQ(dir_.create(1, std::string(kMaxNameLength + 1, 'x')), kNo);
  EXPECT_EQ(dir_.create(1, std::string("a\0b", 3)), kNo);
  EXPECT_NE(dir_.create(1, std::string(kMaxNameLength, 'x')), kNo);

  dir_.remove(2, a);  // not the owner: nothing happens
  EXPECT_EQ(dir_.locate("a"), a);
  dir_.remove(1, a);
  EXPECT_EQ(dir_.nameOf(a), nullptr);
}

TEST_F(MailboxDirectoryTest, SendRoutesToTheOwnerAndDropsTheRest) {
  const uint32_t a = dir_.create(1, "a");
  const uint32_t b = dir_.create(2, "b");
  dir_.send(1, frame(10, b, a));
  dir_.send(2, frame(11, b, a));    // `from` is not the sender's: forged
  dir_.send(1, frame(12, 999, a));  // nobody there
  ASSERT_EQ(out_.size(), 1u);
  EXPECT_EQ(out_[0].conn, 2u);
  EXPECT_EQ(out_[0].msgno, 10u);
  EXPECT_EQ(out_[0].from, a);
}

TEST_F(MailboxDirectoryTest, MonitorsFireInOrderWhenTheWatchedGoes) {
  const uint32_t watcher = dir_.create(1, "w");
  const uint32_t watched = dir_.create(2, "x");
  EXPECT_TRUE(dir_.monitor(1, 1, watcher, watched, frame(100)));
  EXPECT_TRUE(dir_.monitor(1, 2, watcher, watched, frame(101)));
  EXPECT_TRUE(dir_.monitor(1, 3, watcher, watched, frame(102)));
  EXPECT_FALSE(dir_.monitor(1, 3, watcher, watched, frame(103))) << "id in use";
  dir_.unmonitor(1, 2);
  dir_.unmonitor(2, 1);  // another connection's id 1 is another monitor
  EXPECT_TRUE(out_.empty());

  dir_.removeAll(2);
  ASSERT_EQ(out_.size(), 2u);
  EXPECT_EQ(out_[0].msgno, 100u);
  EXPECT_EQ(out_[1].msgno, 102u);
  for (const Delivered& d : out_) {
    EXPECT_EQ(d.conn, 1u);
    EXPECT_EQ(d.to, watcher);
    EXPECT_EQ(d.from, watched);
  }
  EXPECT_EQ(dir_.monitorCount(), 0u);
  EXPECT_TRUE(dir_.monitor(1, 1, watcher, watched, frame(104))) << "fired ids are free again";
  ASSERT_EQ(out_.size(), 3u) << "already gone: at once";
  EXPECT_EQ(out_[2].from, watched);
}

TEST_F(MailboxDirectoryTest, LocateAsyncWaitsForTheName) {
  const uint32_t r1 = dir_.create(1, "r1");
  const uint32_t r2 = dir_.create(1, "r2");
  dir_.locateAsync(1, r1, "late", frame(200, r1));
  dir_.locateAsync(1, r2, "late", frame(201, r2));
  dir_.locateAsync(1, r2, "never", frame(202, r2));
  EXPECT_TRUE(out_.empty());
  EXPECT_EQ(dir_.pendingLocateCount(), 3u);

  const uint32_t late = dir_.create(2, "late");
  ASSERT_EQ(out_.size(), 2u);
  EXPECT_EQ(out_[0].msgno, 200u);
  EXPECT_EQ(out_[0].to, r1);
  EXPECT_EQ(out_[0].from, late);
  EXPECT_EQ(out_[1].msgno, 201u);
  EXPECT_EQ(dir_.pendingLocateCount(), 1u);

  dir_.locateAsync(1, r1, "late", frame(203, r1));
  ASSERT_EQ(out_.size(), 3u) << "exists already: at once";
  EXPECT_EQ(out_[2].from, late);

  dir_.remove(1, r2);  // its pending locate goes with it
  EXPECT_EQ(dir_.pendingLocateCount(), 0u);
  dir_.create(2, "never");
  EXPECT_EQ(out_.size(), 3u);
}

// What the hub holds for a connection is counted down on every way it ends: unmonitored, fired,
// its watcher gone; a locate answered or its requester gone.
TEST_F(MailboxDirectoryTest, HeldCountsFollowEveryEnd) {
  const uint32_t w = dir_.create(1, "watcher");
  const uint32_t w2 = dir_.create(1, "");
  const uint32_t target = dir_.create(2, "target");
  const uint32_t other = dir_.create(2, "other");
  ASSERT_TRUE(dir_.monitor(1, 1, w, target, frame(1)));
  ASSERT_TRUE(dir_.monitor(1, 2, w, other, frame(2)));
  ASSERT_TRUE(dir_.monitor(1, 3, w2, target, frame(3)));
  ASSERT_TRUE(dir_.monitor(1, 4, w, 999, frame(4)));  // gone already: fires, not held
  dir_.locateAsync(1, w, "later", frame(5, w));
  dir_.locateAsync(1, w2, "never", frame(6, w2));
  dir_.locateAsync(1, w, "target", frame(7, w));  // there already: answered, not held
  EXPECT_EQ(dir_.monitorsOf(1), 3u);
  EXPECT_EQ(dir_.pendingLocatesOf(1), 2u);
  EXPECT_EQ(dir_.monitorsOf(2), 0u);

  dir_.unmonitor(1, 1);
  dir_.remove(2, other);  // fires 2
  EXPECT_EQ(dir_.monitorsOf(1), 1u);
  dir_.create(3, "later");
  EXPECT_EQ(dir_.pendingLocatesOf(1), 1u);
  dir_.remove(1, w2);  // its monitor and its locate end with it
  EXPECT_EQ(dir_.monitorsOf(1), 0u);
  EXPECT_EQ(dir_.pendingLocatesOf(1), 0u);

  ASSERT_TRUE(dir_.monitor(1, 5, w, target, frame(8)));
  dir_.locateAsync(1, w, "never", frame(9, w));
  dir_.removeAll(1);
  EXPECT_EQ(dir_.monitorsOf(1), 0u);
  EXPECT_EQ(dir_.pendingLocatesOf(1), 0u);
  out_.clear();
  dir_.remove(2, target);
  dir_.create(2, "never");
  EXPECT_TRUE(out_.empty()) << "what was held ended with its watcher or requester";
  // A watcher that is not the caller's own is nobody to tell.
  EXPECT_TRUE(dir_.monitor(2, 9, dir_.create(3, "o"), 12345, frame(100)));
  EXPECT_TRUE(out_.empty());
}

}  // namespace
}  // namespace pxm
