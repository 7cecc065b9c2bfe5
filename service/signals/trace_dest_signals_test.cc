#include "service/signals/trace_dest_signals.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "service/signals/signal_proxies.h"
#include "util/mainloop/event.h"
#include "util/testing/cmd_layer_test_base.h"

namespace {

TEST(TraceDestSignalsTest, AllocConfirmTurnsTheMacWordByWord) {
  const uint8_t wire[32] = {0,    0,    0,    0,    0,    0,    0, 0, 0, 0, 0, 0,  // header
                            0x00, 0x05,                                            // portId
                            0x00, 0x64,                                            // agentVlan
                            0x11, 0x22, 0x33, 0x44, 0x55, 0x66,                    // sourceMac
                            0,    0,    0,    9,                                   // kept
                            0x0A, 0x0B, 0x0C, 0x0D,                                // sourceInfoA
                            0x01, 0x02};                                           // sourceInfoB
  KvnTraceDestAllocCfmS cfm;
  std::memcpy(&cfm, wire, sizeof cfm);
  KvnTraceDestAllocCfmS::toHost(&cfm, sizeof cfm);
  EXPECT_EQ(+cfm.portId, 5);
  EXPECT_EQ(+cfm.agentVlan, 100);
  EXPECT_EQ(+cfm.sourceInfoA, 0x0A0B0C0Du);
  EXPECT_EQ(+cfm.sourceInfoB, 0x0102);
  // Copied on as it stands, the MAC's bytes have changed places pairwise.
  uint8_t mac[6];
  std::memcpy(mac, cfm.sourceMac, 6);
  EXPECT_EQ(std::vector<uint8_t>(mac, mac + 6),
            (std::vector<uint8_t>{0x22, 0x11, 0x44, 0x33, 0x66, 0x55}));
}

TEST(TraceDestSignalsTest, OpenConfirmReadsNoMoreSocketsThanTheMessageHolds) {
  std::vector<uint8_t> buf(KvnTraceDestOpenCfmS::sizeFor(1) + 4, 0xAA);
  buf[12] = 0;
  buf[13] = 3;  // claims three sockets, holds one
  buf[14] = 0x12;
  buf[15] = 0x34;
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
