#pragma once
// Trace object masks and injected trace text, between the service and the agent's trace object
// manager.

#include <stddef.h>
#include <stdint.h>

#include <string>

#include "base/kvn_obs_sub_message_with_sub_msg_no.h"
#include "service/signals/signal_byte_order.h"

#pragma pack(push, 1)

// One object's whole new group mask; the agent replaces what it had.
struct KvnTraceObjectMaskEntryS {
  uint16_t strId;
  uint32_t mask;
};
static_assert(sizeof(KvnTraceObjectMaskEntryS) == 6);

// Sub-message 0: `count` entries from offset 14, in the order of the batch.
struct KvnTraceObjectSetMaskReqS {
  KvnObsSubMessageWithSubMsgNo header;
  uint16_t count;
  KvnTraceObjectMaskEntryS entries[1];
  KVNSIG_BODY(KvnTraceObjectSetMaskReqS, "KVN_TRACEOBJECT_SETMASK_REQ");
  static constexpr size_t sizeFor(size_t n) {
    return offsetof(KvnTraceObjectSetMaskReqS, entries) + n * sizeof(KvnTraceObjectMaskEntryS);
  }
};
static_assert(offsetof(KvnTraceObjectSetMaskReqS, entries) == 14);

KVNSIG_HEADER_ONLY(KvnTraceObjectSetMaskCfmS, "KVN_TRACEOBJECT_SETMASK_CFM");  // 1

// Indication 2: `nrOfWords` 16-bit words of text from offset 14, not terminated. The sender
// fills each word byte-swapped; the conversion to network order swaps every word back, so the
// text travels in its own order. On receipt only `nrOfWords` is turned.
struct KvnTraceObjectInjectManualTraceUreqS {
  KvnObsSubMessageWithSubMsgNo header;
  uint16_t nrOfWords;
  uint8_t text[1];
  KVNSIG_BODY(KvnTraceObjectInjectManualTraceUreqS, "KVN_TRACEOBJECT_INJECT_UREQ");
  static constexpr size_t sizeFor(size_t words) {
    return offsetof(KvnTraceObjectInjectManualTraceUreqS, text) + 2 * words;
  }
};
static_assert(offsetof(KvnTraceObjectInjectManualTraceUreqS, text) == 14);

#pragma pack(pop)
