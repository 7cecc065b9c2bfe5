#pragma once
// Route connections, between the service and a forwarder routine of the agent. Requests and
// answers are numbered separately: attach request and attach confirm both carry 0, detach
// request and attach reject both carry 1.

#include <stddef.h>
#include <stdint.h>

#include <string>

#include "base/kvn_obs_sub_message_with_sub_msg_no.h"
#include "service/signals/signal_byte_order.h"

#pragma pack(push, 1)

// Request 0.
struct KvnTraceLinkAttachReqS {
  KvnObsSubMessageWithSubMsgNo header;
  uint16_t linkIndex;
  uint16_t destSocket;
  KVNSIG_BODY(KvnTraceLinkAttachReqS, "KVN_TRACE_SIG_TO_CONNECTION_ATTACH_REQ");
};
static_assert(sizeof(KvnTraceLinkAttachReqS) == 16);

KVNSIG_HEADER_ONLY(KvnTraceLinkAttachCfmS, "KVN_TRACE_SIG_FROM_CONNECTION_ATTACH_CFM");  // 0

// Answer 1.
struct KvnTraceLinkAttachRejS {
  KvnObsSubMessageWithSubMsgNo header;
  uint16_t cause;  // not used
  KVNSIG_BODY(KvnTraceLinkAttachRejS, "KVN_TRACE_SIG_FROM_CONNECTION_ATTACH_REJ");
};
static_assert(sizeof(KvnTraceLinkAttachRejS) == 14);

// Request 1.
struct KvnTraceLinkDetachReqS {
  KvnObsSubMessageWithSubMsgNo header;
  uint16_t linkIndex;
  uint16_t destSocket;
  KVNSIG_BODY(KvnTraceLinkDetachReqS, "KVN_TRACE_SIG_TO_CONNECTION_DETACH_REQ");
};
static_assert(sizeof(KvnTraceLinkDetachReqS) == 16);

KVNSIG_HEADER_ONLY(KvnTraceLinkDetachCfmS, "KVN_TRACE_SIG_FROM_CONNECTION_DETACH_CFM");  // 2

// Answer 3.
struct KvnTraceLinkDetachRejS {
  KvnObsSubMessageWithSubMsgNo header;
  uint16_t cause;  // not used
  KVNSIG_BODY(KvnTraceLinkDetachRejS, "KVN_TRACE_SIG_FROM_CONNECTION_DETACH_REJ");
};
static_assert(sizeof(KvnTraceLinkDetachRejS) == 14);

#pragma pack(pop)
