#pragma once
// The diag handler's link to the service: its hello to routine 8 and the service's reply.

#include <stddef.h>
#include <stdint.h>

#include <string>

#include "base/kvn_obs_sub_message_with_sub_msg_no.h"
#include "service/signals/signal_byte_order.h"

#pragma pack(push, 1)

// Sub-message 0, from the diag handler.
struct KvnDiagHandlerHelloS {
  KvnObsSubMessageWithSubMsgNo header;
  uint32_t value;  // turned, not used
  KVNSIG_BODY(KvnDiagHandlerHelloS, "KVN_DIAG_HANDLER_HELLO");
};
static_assert(sizeof(KvnDiagHandlerHelloS) == 16);

// Sub-message 1, the reply: the service's instance name, not terminated. The two u16 at
// offset 12 are turned as one 32-bit word, so that on the wire bytes 12 to 15 read 0, 0, 0, 2:
// the form the diag handler expects.
struct KvnDiagHandlerHelloReplyS {
  KvnObsSubMessageWithSubMsgNo header;
  uint16_t two;   // 2
  uint16_t zero;  // 0
  uint16_t nameLength;
  char instanceName[1];
  KVNSIG_BODY(KvnDiagHandlerHelloReplyS, "KVN_DIAG_HANDLER_HELLO_REPLY");
  // Two bytes more than the fields need: the size the diag handler is used to.
  static constexpr size_t sizeFor(size_t n) { return 20 + n; }
};
static_assert(offsetof(KvnDiagHandlerHelloReplyS, instanceName) == 18);

#pragma pack(pop)
