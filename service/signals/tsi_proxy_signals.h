#pragma once
// UDP sessions on the transport network, between the service and the TSI proxy behind the diag
// handler.

#include <stddef.h>
#include <stdint.h>

#include <string>

#include "base/kvn_obs_sub_message_with_sub_msg_no.h"
#include "service/signals/signal_byte_order.h"

#pragma pack(push, 1)

struct KvnTsiProxyIpAddrS {
  uint16_t family;   // 4 or 6
  uint8_t addr[16];  // network order, as inet_pton wrote it
};
static_assert(sizeof(KvnTsiProxyIpAddrS) == 18);

// Sub-message 0.
struct KvnTsiProxyCreateUdpSessionReqS {
  KvnObsSubMessageWithSubMsgNo header;
  uint32_t clientRef;  // the routine id of the asking session
  char ldn[512];       // terminated; the rest undefined
  KvnTsiProxyIpAddrS ipAddr;
  uint16_t udpPortNr;
  uint16_t reserved;  // 0
  uint32_t sourceInfoA;
  uint16_t sourceInfoB;
  uint8_t sourceMac[6];  // copied from the agent's confirm, not swapped
  KVNSIG_BODY(KvnTsiProxyCreateUdpSessionReqS, "KVN_TSI_PROXY_CREATE_UDP_SESSION_REQ");
};
static_assert(sizeof(KvnTsiProxyCreateUdpSessionReqS) == 562);
static_assert(offsetof(KvnTsiProxyCreateUdpSessionReqS, ipAddr) == 528);
static_assert(offsetof(KvnTsiProxyCreateUdpSessionReqS, sourceInfoA) == 550);

// Sub-message 1.
struct KvnTsiProxyCreateUdpSessionCfmS {
  KvnObsSubMessageWithSubMsgNo header;
  uint32_t sessionId;
  uint32_t pcep;
  uint16_t qidx;
  uint8_t mac[6];      // not swapped
  uint32_t innerVlan;  // 0 when not given
  uint32_t outerVlan;
  KVNSIG_BODY(KvnTsiProxyCreateUdpSessionCfmS, "KVN_TSI_PROXY_CREATE_UDP_SESSION_CFM");
};
static_assert(sizeof(KvnTsiProxyCreateUdpSessionCfmS) == 36);

// Sub-message 2: `reasonLength` characters of text from offset 14, not terminated.
struct KvnTsiProxyCreateUdpSessionRejS {
  KvnObsSubMessageWithSubMsgNo header;
  uint16_t reasonLength;
  char reason[1];
  KVNSIG_BODY(KvnTsiProxyCreateUdpSessionRejS, "KVN_TSI_PROXY_CREATE_UDP_SESSION_REJ");
  static constexpr size_t sizeFor(size_t n) {
    return offsetof(KvnTsiProxyCreateUdpSessionRejS, reason) + n;
  }
};
static_assert(offsetof(KvnTsiProxyCreateUdpSessionRejS, reason) == 14);

// Indication 3, no answer.
struct KvnTsiProxyDeleteUdpSessionIndS {
  KvnObsSubMessageWithSubMsgNo header;
  uint32_t clientRef;
  KVNSIG_BODY(KvnTsiProxyDeleteUdpSessionIndS, "KVN_TSI_PROXY_DELETE_UDP_SESSION_IND");
};
static_assert(sizeof(KvnTsiProxyDeleteUdpSessionIndS) == 16);

#pragma pack(pop)
