#include "service/signals/trace_dest_signals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "service/signals/signal_proxies.h"
#include "util/mainloop/event.h"
#include "util/testing/cmd_layer_test_base.h"

namespace {

// The alloc confirm's fields, its MAC turned word by word: DaxoTnSessionTest, which sends them on.
TEST(TraceDestSignalsTest, OpenConfirmReadsNoMoreSocketsThanTheMessageHolds) {
  std::vector<uint8_t> buf(KvnTraceDestOpenCfmS::sizeFor(1) + 4, 0xAA);
  const uint8_t head[] = {0, 3, 0x12, 0x34};  // claims three sockets, holds one
  std::copy(head, head + 4, buf.begin() + 12);
  auto* cfm = reinterpret_cast<KvnTraceDestOpenCfmS*>(buf.data());
  KvnTraceDestOpenCfmS::toHost(cfm, KvnTraceDestOpenCfmS::sizeFor(1));
  EXPECT_EQ(+cfm->count, 3);
  EXPECT_EQ(+cfm->socketId[0], 0x1234);
  for (size_t i = KvnTraceDestOpenCfmS::sizeFor(1); i < buf.size(); ++i) EXPECT_EQ(buf[i], 0xAA);
}

class TraceDestProxyTest : public kvn::testing::CmdLayerTestBase {};

TEST_F(TraceDestProxyTest, EachRequestCarriesItsNumberAndItsAnswersTheirs) {
  auto lost = std::make_shared<kvntrace::Event>();
  kvn::TraceDestProxy proxy(&table, peer, 30, lost->getId());
  auto* close = proxy.make<KvnTraceDestCloseReqS>();
  close->portId = 4;
  close->count = 1;
  close->socketId = 0x0201;
  int16_t cause = 0;
  proxy.send(
      close, [](KvnTraceDestCloseCfmS*&, size_t) { ADD_FAILURE() << "confirm"; },
      [&](KvnTraceDestCloseRejS*& rej, size_t) { cause = rej->cause; });
  auto sent = pxm.popSent(peer);
  ASSERT_TRUE(sent);
  EXPECT_EQ(sent->submsgno, 12);
  EXPECT_EQ(sent->size, 18u);
  EXPECT_EQ(sent->be16(12), 4);
  EXPECT_EQ(sent->be16(14), 1);
  EXPECT_EQ(sent->be16(16), 0x0201);

  pxm.injectObs(peer, sent->srcRoutineId, 30, 14, {0xFF, 0xFE});
  run();
  EXPECT_EQ(cause, -2);
}

}  // namespace
