#pragma once
// Hardware trace registers, between the service and the agent's rtt manager.

#include <stddef.h>
#include <stdint.h>

#include <string>

#include "base/kvn_obs_sub_message_with_sub_msg_no.h"
#include "service/signals/signal_byte_order.h"

#pragma pack(push, 1)

// Sub-message 0.
struct KvnRttSetRegisterReqS {
  KvnObsSubMessageWithSubMsgNo header;
  uint16_t registerId;
  uint32_t value;
  KVNSIG_BODY(KvnRttSetRegisterReqS, "KVN_RTT_SET_REGISTER_REQ");
};
static_assert(sizeof(KvnRttSetRegisterReqS) == 18);

KVNSIG_HEADER_ONLY(KvnRttSetRegisterCfmS, "KVN_RTT_SET_REGISTER_CFM");  // 1, body not read

#pragma pack(pop)
