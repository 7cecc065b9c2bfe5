#include "util/testing/fake_pxm.h"

#include <gtest/gtest.h>

namespace kvn::testing {
namespace {

TEST(FakePxm, LeakAccountingSeesOnlyMessagesHeldOutsideTheLibrary) {
  FakePxm pxm;
  const pxm_mbox_id_t own = pxm.create_mailbox("svc", 0);
  const pxm_mbox_id_t peer = pxm.createPeer("peer");
  EXPECT_EQ(pxm.create_mailbox("peer", 0), PXM_NO_MBOX);

  pxm_msg* held = pxm.alloc(12, 1);
  pxm_msg* queued = pxm.alloc(12, 2);
  pxm.send(queued, peer, PXM_MY_MBOX);
  EXPECT_EQ(queued, nullptr);
  EXPECT_EQ(pxm.leakedMessages(), 1u);

  auto sent = pxm.popSent(peer);
  ASSERT_TRUE(sent);
  EXPECT_EQ(sent->msgno, 2u);
  EXPECT_EQ(sent->sender, own);
  pxm_msg* copy = held;
  pxm.free(held);
  pxm.free(copy);
  EXPECT_EQ(pxm.badFrees(), 1);
  EXPECT_EQ(pxm.liveMessages(), 0u);
}

TEST(FakePxm, KilledMailboxFiresItsMonitorsWithTheGivenOrTheLibrarysMessage) {
  FakePxm pxm;
  const pxm_mbox_id_t own = pxm.create_mailbox("svc", 0);
  const pxm_mbox_id_t peer = pxm.createPeer("peer");
  pxm_msg* mine = pxm.alloc(12, 77);
  pxm_msg* none = nullptr;
  pxm_msg* dropped = pxm.alloc(12, 78);
  pxm.monitor(peer, mine);
  pxm.monitor(peer, none);
  pxm.unmonitor(pxm.monitor(peer, dropped));
  EXPECT_EQ(mine, nullptr);
  EXPECT_EQ(pxm.leakedMessages(), 0u);

  pxm.kill(peer);
  auto first = pxm.popSent(own);
  auto second = pxm.popSent(own);
  ASSERT_TRUE(first && second);
  EXPECT_EQ(first->msgno, 77u);
  EXPECT_EQ(second->msgno, PXM_MBOX_GONE);
  EXPECT_EQ(second->sender, peer);
  EXPECT_FALSE(pxm.popSent(own));

  // Sent to the dead, a message is lost rather than leaked.
  pxm_msg* late = pxm.alloc(12, 1);
  pxm.send(late, peer, PXM_MY_MBOX);
  EXPECT_EQ(pxm.liveMessages(), 0u);
}

TEST(FakePxm, AsyncLocateAnswersWhenTheMailboxAppears) {
  FakePxm pxm;
  const pxm_mbox_id_t own = pxm.create_mailbox("svc", 0);
  pxm_msg* hunt = pxm.alloc(4, 9);
  pxm.locate_async("later", &hunt, PXM_MY_MBOX);
  EXPECT_EQ(pxm.locate("later"), PXM_NO_MBOX);
  EXPECT_FALSE(pxm.popSent(own));
  const pxm_mbox_id_t later = pxm.createPeer("later");
  auto found = pxm.popSent(own);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->sender, later);
  char name[8];
  ASSERT_TRUE(pxm.get_name(later, name, sizeof name));
  EXPECT_STREQ(name, "later");
}

}  // namespace
}  // namespace kvn::testing
