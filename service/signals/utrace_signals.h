#pragma once
// Utrace point settings, between the service and the agent's unique trace manager.

#include <stddef.h>
#include <stdint.h>

#include <string>

#include "base/kvn_obs_sub_message_with_sub_msg_no.h"
#include "service/signals/signal_byte_order.h"

#pragma pack(push, 1)

// One point: bit 0 of `flags` set means the point differs from the default the agent knows.
struct KvnUtraceConfigEntryS {
  uint16_t id;
  uint16_t flags;
};
static_assert(sizeof(KvnUtraceConfigEntryS) == 4);

// Sub-message 0: `count` entries from offset 14.
struct KvnUtraceSetConfigReqS {
  KvnObsSubMessageWithSubMsgNo header;
  uint16_t count;
  KvnUtraceConfigEntryS entries[1];
  KVNSIG_BODY(KvnUtraceSetConfigReqS, "KVN_UTRACE_SET_CONFIG_REQ");
  static constexpr size_t sizeFor(size_t n) {
    return offsetof(KvnUtraceSetConfigReqS, entries) + n * sizeof(KvnUtraceConfigEntryS);
  }
};
static_assert(offsetof(KvnUtraceSetConfigReqS, entries) == 14);

KVNSIG_HEADER_ONLY(KvnUtraceSetConfigCfmS, "KVN_UTRACE_SET_CONFIG_CFM");  // 1

#pragma pack(pop)
