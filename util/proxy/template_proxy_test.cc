#include "util/proxy/template_proxy.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "util/mainloop/event.h"
#include "util/testing/cmd_layer_test_base.h"

namespace kvntrace {
namespace {

#pragma pack(push, 1)
// Requests with one 32-bit field, and answers with one 16-bit field.
template <int Tag>
struct RequestS {
  KvnObsSubMessageWithSubMsgNo header;
  uint32_t value;
  static std::string name() { return "TEST_REQUEST_" + std::to_string(Tag); }
  static void toNetwork(RequestS* m, size_t) { m->value = htonl(m->value); }
  static void toHost(RequestS* m, size_t) { m->value = ntohl(m->value); }
};
template <int Tag>
struct AnswerS {
  KvnObsSubMessageWithSubMsgNo header;
  uint16_t value;
  static std::string name() { return "TEST_ANSWER_" + std::to_string(Tag); }
  static void toNetwork(AnswerS* m, size_t size) {
    if (size >= sizeof(AnswerS)) m->value = htons(m->value);
  }
  static void toHost(AnswerS* m, size_t size) { toNetwork(m, size); }
};
#pragma pack(pop)

using PingReqS = RequestS<1>;
using DetachReqS = RequestS<2>;
using PingCfmS = AnswerS<1>;
using AttachCfmS = AnswerS<2>;
using AttachRejS = AnswerS<3>;
using DetachCfmS = AnswerS<4>;
using DetachRejS = AnswerS<5>;

using PingProxy = ProxyCfm<PingReqS, PingCfmS, 4, 5, ProxyInd<DetachReqS, 9, TemplateBaseProxy>>;
// Requests and answers numbered separately: attach request and confirm are both 0, the detach
// request and the attach reject both 1.
using LinkProxy =
    ProxyCfmRej<PingReqS, AttachCfmS, AttachRejS, 0, 0, 1,
                ProxyCfmRej<DetachReqS, DetachCfmS, DetachRejS, 1, 2, 3, TemplateBaseProxy>>;

std::vector<uint8_t> be16(uint16_t v) { return {uint8_t(v >> 8), uint8_t(v)}; }

class TemplateProxyTest : public kvn::testing::CmdLayerTestBase {
 protected:
  static constexpr uint16_t kPeerRoutine = 42;

  template <typename Req>
  Req* make() {
    auto* req = proxy.make<Req>();
    req->value = 0x01020304;
    return req;
  }

  std::shared_ptr<Event> lost = std::make_shared<Event>();
  PingProxy proxy{&table, peer, kPeerRoutine, lost->getId()};
  LinkProxy link{&table, peer, kPeerRoutine, lost->getId()};
};

TEST_F(TemplateProxyTest, RequestGoesOutBigEndianAndTheConfirmComesBackInHostOrder) {
  uint16_t got = 0;
  proxy.send(make<PingReqS>(), [&](PingCfmS*& cfm, size_t size) {
    EXPECT_EQ(size, sizeof(PingCfmS));
    got = cfm->value;
  });
  run();
  auto req = pxm.popSent(peer);
  ASSERT_TRUE(req);
  EXPECT_EQ(req->dstRoutineId, kPeerRoutine);
  EXPECT_EQ(req->submsgno, 4);
  EXPECT_EQ(req->be32(12), 0x01020304u);

  pxm.injectObs(peer, req->srcRoutineId, kPeerRoutine, 5, be16(0xBEEF));
  run();
  EXPECT_EQ(got, 0xBEEF);
  EXPECT_EQ(pxm.leakedMessages(), 0u);
  EXPECT_FALSE(table.get(req->srcRoutineId)) << "the waiting routine goes at its answer";
}

TEST_F(TemplateProxyTest, ParallelSendsEachReachTheirOwnFunctor) {
  std::vector<std::string> calls;
  proxy.send(make<PingReqS>(),
             [&](PingCfmS*& c, size_t) { calls.push_back("a" + std::to_string(c->value)); });
  proxy.send(make<PingReqS>(),
             [&](PingCfmS*& c, size_t) { calls.push_back("b" + std::to_string(c->value)); });
  auto first = pxm.popSent(peer);
  auto second = pxm.popSent(peer);
  ASSERT_TRUE(first && second);
  ASSERT_NE(first->srcRoutineId, second->srcRoutineId);

  // Answered in the other order.
  pxm.injectObs(peer, second->srcRoutineId, kPeerRoutine, 5, be16(2));
  pxm.injectObs(peer, first->srcRoutineId, kPeerRoutine, 5, be16(1));
  run();
  EXPECT_EQ(calls, (std::vector<std::string>{"b2", "a1"}));
}

TEST_F(TemplateProxyTest, ConfirmAfterThePeersLossIsARoutingFailure) {
  bool called = false;
  proxy.send(make<PingReqS>(), [&](PingCfmS*&, size_t) { called = true; });
  auto req = pxm.popSent(peer);
  ASSERT_TRUE(req);

  table.sendEvent(lost->getId());  // the waiting routine goes, silently
  EXPECT_FALSE(table.get(req->srcRoutineId));

  pxm.injectObs(peer, req->srcRoutineId, kPeerRoutine, 5, be16(7));
  run();
  EXPECT_FALSE(called);
  EXPECT_EQ(pxm.leakedMessages(), 0u);
}

TEST_F(TemplateProxyTest, AnswerOneToAnAttachIsTheRejectNotADetach) {
  std::string seen;
  link.send(
      make<PingReqS>(), [&](AttachCfmS*&, size_t) { seen += "cfm"; },
      [&](AttachRejS*& rej, size_t) { seen += "rej" + std::to_string(rej->value); });
  link.send(
      make<DetachReqS>(), [&](DetachCfmS*&, size_t) { seen += " detach-cfm"; },
      [&](DetachRejS*&, size_t) { seen += " detach-rej"; });
  auto attach = pxm.popSent(peer);
  auto detach = pxm.popSent(peer);
  ASSERT_TRUE(attach && detach);
  EXPECT_EQ(attach->submsgno, 0);
  EXPECT_EQ(detach->submsgno, 1);

  pxm.injectObs(peer, attach->srcRoutineId, kPeerRoutine, 1, be16(3));
  pxm.injectObs(peer, detach->srcRoutineId, kPeerRoutine, 2, be16(0));
  run();
  EXPECT_EQ(seen, "rej3 detach-cfm");
}

TEST_F(TemplateProxyTest, IndicationGoesFromARoutineThatIsGoneAtOnce) {
  proxy.send(make<DetachReqS>());
  // The released routine goes at the next drain, after any dispatch.
  table.allocate(std::make_shared<kvn::Routine>(), 2);
  pxm.injectObs(peer, 2, kPeerRoutine, 0);
  run();
  auto ind = pxm.popSent(peer);
  ASSERT_TRUE(ind);
  EXPECT_EQ(ind->submsgno, 9);
  EXPECT_EQ(ind->be32(12), 0x01020304u);
  EXPECT_FALSE(table.get(ind->srcRoutineId));
}

TEST_F(TemplateProxyTest, FunctorMayKeepTheMessage) {
  PingCfmS* kept = nullptr;
  proxy.send(make<PingReqS>(), [&](PingCfmS*& cfm, size_t) {
    kept = cfm;
    cfm = nullptr;
  });
  auto req = pxm.popSent(peer);
  pxm.injectObs(peer, req->srcRoutineId, kPeerRoutine, 5, be16(1));
  run();
  ASSERT_NE(kept, nullptr);
  EXPECT_EQ(pxm.leakedMessages(), 1u);
  pxm_msg* m = reinterpret_cast<pxm_msg*>(kept);
  pxm.free(m);
}

TEST_F(TemplateProxyTest, FullTableThrowsOutOfSendAndTheMessageIsNotLost) {
  PingReqS* req = make<PingReqS>();
  run();  // let the allocation's temporary routine go
  while (true) {
    try {
      table.allocate(std::make_shared<kvn::Routine>());
    } catch (const kvn::RoutineTable::Exception::IdError&) {
      break;
    }
  }
  EXPECT_THROW(proxy.send(req, [](PingCfmS*&, size_t) {}), kvn::RoutineTable::Exception::IdError);
  EXPECT_EQ(pxm.leakedMessages(), 0u);
}

using TemplateProxyDeathTest = TemplateProxyTest;

TEST_F(TemplateProxyDeathTest, ShortOrWronglyNumberedConfirmStopsTheProcess) {
  ProxyCfmRoutine<PingCfmS, 5> routine([](PingCfmS*&, size_t) {}, lost->getId());
  pxm_msg* msg = pxm.alloc(16, kvn::testing::FakePxm::kBaseSignalNo);
  EXPECT_DEATH(routine.pxm_message(msg, 8), "msgsize >= sizeof\\(KvnObsSubMessageWithSubMsgNo\\)");
  reinterpret_cast<KvnObsSubMessageWithSubMsgNo*>(msg)->submsgno = 6;
  EXPECT_DEATH(routine.pxm_message(msg, 14), "cfm_p->header.submsgno == cfmSubSigNo");

  ProxyCfmRejRoutine<AttachCfmS, AttachRejS, 0, 1> both({}, {}, lost->getId());
  EXPECT_DEATH(both.pxm_message(msg, 14),
               "header->submsgno == cfmSubSigNo \\|\\| header->submsgno == rejSubSigNo");
  pxm.free(msg);
}

}  // namespace
}  // namespace kvntrace
