#pragma once
// Trace hit counter, between the service and the agent's hit counter routine.

#include <stddef.h>
#include <stdint.h>

#include <string>

#include "base/kvn_obs_sub_message_with_sub_msg_no.h"
#include "service/signals/signal_byte_order.h"

#pragma pack(push, 1)

KVNSIG_HEADER_ONLY(KvnTraceHitCounterInfoReqS, "KVN_TRACE_HIT_COUNTER_INFO_REQ");  // 0

// Sub-message 1.
struct KvnTraceHitCounterInfoCfmS {
  KvnObsSubMessageWithSubMsgNo header;
  uint32_t droppedHits;    // lost by overflow of the small buffer
  uint32_t droppedStrids;  // strings that got no counter
  uint32_t reserved;
  uint32_t nrOfEntries;  // rows in the table
  KVNSIG_BODY(KvnTraceHitCounterInfoCfmS, "KVN_TRACE_HIT_COUNTER_INFO_CFM");
};
static_assert(sizeof(KvnTraceHitCounterInfoCfmS) == 28);

// Sub-message 2: rows from `firstIndex` on.
struct KvnTraceHitCounterDataReqS {
  KvnObsSubMessageWithSubMsgNo header;
  uint16_t firstIndex;
  KVNSIG_BODY(KvnTraceHitCounterDataReqS, "KVN_TRACE_HIT_COUNTER_DATA_REQ");
};
static_assert(sizeof(KvnTraceHitCounterDataReqS) == 14);

// One row; the times are milliseconds since the last reset.
struct TraceHitEntry {
  uint16_t strid;
  uint16_t traceGroup;
  uint32_t arg1;
  uint32_t arg2;
  uint32_t arg3;
  uint32_t counter;
  uint32_t firstHit;
  uint32_t lastHit;
};
static_assert(sizeof(TraceHitEntry) == 28);

// Sub-message 3: `nrOfEntries` rows from offset 16.
struct KvnTraceHitCounterDataCfmS {
  KvnObsSubMessageWithSubMsgNo header;
  uint16_t nrOfEntries;
  uint16_t firstIndex;
  TraceHitEntry entries[1];
  KVNSIG_BODY(KvnTraceHitCounterDataCfmS, "KVN_TRACE_HIT_COUNTER_DATA_CFM");
  static constexpr size_t sizeFor(size_t n) {
    return offsetof(KvnTraceHitCounterDataCfmS, entries) + n * sizeof(TraceHitEntry);
  }
};
static_assert(offsetof(KvnTraceHitCounterDataCfmS, entries) == 16);

KVNSIG_HEADER_ONLY(KvnTraceHitCounterClearReqS, "KVN_TRACE_HIT_COUNTER_CLEAR_REQ");  // 4
KVNSIG_HEADER_ONLY(KvnTraceHitCounterClearCfmS, "KVN_TRACE_HIT_COUNTER_CLEAR_CFM");  // 5, not read

#pragma pack(pop)
