#pragma once
// Transport destination ports and sockets, between the service and the agent's trace
// destination routine.

#include <stddef.h>
#include <stdint.h>

#include <string>

#include "base/kvn_obs_sub_message_with_sub_msg_no.h"
#include "service/signals/signal_byte_order.h"

#pragma pack(push, 1)

KVNSIG_HEADER_ONLY(KvnTraceDestAllocReqS, "KVN_TRACE_DEST_ALLOC_REQ");  // 0

// Sub-message 1. Its body is also the `agentInfo` handed on to the TSI proxy; `sourceMac` is
// turned word by word on receipt and copied on without a swap.
struct KvnTraceDestAllocCfmS {
  KvnObsSubMessageWithSubMsgNo header;
  uint16_t portId;
  uint16_t agentVlan;  // the inner VLAN when the TSI confirm gives none
  uint16_t sourceMac[3];
  uint32_t reserved;
  uint32_t sourceInfoA;
  uint16_t sourceInfoB;
  KVNSIG_BODY(KvnTraceDestAllocCfmS, "KVN_TRACE_DEST_ALLOC_CFM");
};
static_assert(sizeof(KvnTraceDestAllocCfmS) == 32);

// The rejects of all five requests.
#define KVNSIG_TRACE_DEST_REJ(Type, textName) \
  struct Type {                               \
    KvnObsSubMessageWithSubMsgNo header;      \
    int16_t cause;                            \
    KVNSIG_BODY(Type, textName);              \
  };                                          \
  static_assert(sizeof(Type) == 14)

KVNSIG_TRACE_DEST_REJ(KvnTraceDestAllocRejS, "KVN_TRACE_DEST_ALLOC_REJ");  // 2

// Sub-message 3.
struct KvnTraceDestFreeReqS {
  KvnObsSubMessageWithSubMsgNo header;
  uint16_t portId;
  KVNSIG_BODY(KvnTraceDestFreeReqS, "KVN_TRACE_DEST_FREE_REQ");
};
static_assert(sizeof(KvnTraceDestFreeReqS) == 14);

KVNSIG_HEADER_ONLY(KvnTraceDestFreeCfmS, "KVN_TRACE_DEST_FREE_CFM");     // 4
KVNSIG_TRACE_DEST_REJ(KvnTraceDestFreeRejS, "KVN_TRACE_DEST_FREE_REJ");  // 5

// Sub-message 6.
struct KvnTraceDestConfigReqS {
  KvnObsSubMessageWithSubMsgNo header;
  uint16_t portId;
  uint8_t mac[6];  // as the TSI proxy gave it, not swapped
  uint16_t innerVlan;
  uint32_t maxKBytesPerSecond;
  uint16_t outerVlan;
  KVNSIG_BODY(KvnTraceDestConfigReqS, "KVN_TRACE_DEST_CONFIG_REQ");
};
static_assert(sizeof(KvnTraceDestConfigReqS) == 28);

KVNSIG_HEADER_ONLY(KvnTraceDestConfigCfmS, "KVN_TRACE_DEST_CONFIG_CFM");     // 7
KVNSIG_TRACE_DEST_REJ(KvnTraceDestConfigRejS, "KVN_TRACE_DEST_CONFIG_REJ");  // 8

// Sub-message 9. The format allows `count` records of 12 bytes from `type` on; one is sent.
struct KvnTraceDestOpenReqS {
  KvnObsSubMessageWithSubMsgNo header;
  uint16_t portId;
  uint16_t count;  // always 1
  uint16_t type;   // 1
  uint32_t tnEbcomId;
  uint32_t tnPcep;
  uint16_t tnQidx;
  KVNSIG_BODY(KvnTraceDestOpenReqS, "KVN_TRACE_DEST_OPEN_REQ");
};
static_assert(sizeof(KvnTraceDestOpenReqS) == 28);

// Sub-message 10: `count` socket ids from offset 14.
struct KvnTraceDestOpenCfmS {
  KvnObsSubMessageWithSubMsgNo header;
  uint16_t count;
  uint16_t socketId[1];
  KVNSIG_BODY(KvnTraceDestOpenCfmS, "KVN_TRACE_DEST_OPEN_CFM");
  static constexpr size_t sizeFor(size_t n) {
    return offsetof(KvnTraceDestOpenCfmS, socketId) + 2 * n;
  }
};
static_assert(sizeof(KvnTraceDestOpenCfmS) == 16);

KVNSIG_TRACE_DEST_REJ(KvnTraceDestOpenRejS, "KVN_TRACE_DEST_OPEN_REJ");  // 11

// Sub-message 12.
struct KvnTraceDestCloseReqS {
  KvnObsSubMessageWithSubMsgNo header;
  uint16_t portId;
  uint16_t count;  // always 1
  uint16_t socketId;
  KVNSIG_BODY(KvnTraceDestCloseReqS, "KVN_TRACE_DEST_CLOSE_REQ");
};
static_assert(sizeof(KvnTraceDestCloseReqS) == 18);

KVNSIG_HEADER_ONLY(KvnTraceDestCloseCfmS, "KVN_TRACE_DEST_CLOSE_CFM");     // 13
KVNSIG_TRACE_DEST_REJ(KvnTraceDestCloseRejS, "KVN_TRACE_DEST_CLOSE_REJ");  // 14

#pragma pack(pop)
