#pragma once
// DSP load measurement, between the service and the agent's measurement routine.

#include <stddef.h>
#include <stdint.h>

#include <string>

#include "base/kvn_obs_sub_message_with_sub_msg_no.h"
#include "service/signals/signal_byte_order.h"

#pragma pack(push, 1)

// Sub-message 0: start a measurement of `durationUs`.
struct KvnDspLoadStartReqS {
  KvnObsSubMessageWithSubMsgNo header;
  uint32_t durationUs;
  KVNSIG_BODY(KvnDspLoadStartReqS, "KVN_DSPLOAD_START_REQ");
};
static_assert(sizeof(KvnDspLoadStartReqS) == 16);

KVNSIG_HEADER_ONLY(KvnDspLoadStartCfmS, "KVN_DSPLOAD_START_CFM");  // 1
KVNSIG_HEADER_ONLY(KvnDspLoadStopReqS, "KVN_DSPLOAD_STOP_REQ");    // 2
KVNSIG_HEADER_ONLY(KvnDspLoadStopCfmS, "KVN_DSPLOAD_STOP_CFM");    // 3

// Sub-message 4: ask for the tables; `snapshot` 1 while measuring, 0 for a finished one.
struct KvnDspLoadPrintReqS {
  KvnObsSubMessageWithSubMsgNo header;
  uint8_t snapshot;
  uint8_t padding;
  KVNSIG_BODY(KvnDspLoadPrintReqS, "KVN_DSPLOAD_PRINT_REQ");
};
static_assert(sizeof(KvnDspLoadPrintReqS) == 14);

// One DSP's figures, in percent; `histogram` counts the intervals 0-20% ... 80-100%.
struct DspLoadEntry {
  uint16_t min;
  uint16_t max;
  uint16_t average;
  uint32_t histogram[5];
  uint16_t pooled;  // 0 a statically allocated DSP, 1 a pooled one
};
static_assert(sizeof(DspLoadEntry) == 28);

// Sub-message 5: `nrOfDsps` entries from offset 18; the record's size counts one.
struct KvnDspLoadPrintCfmS {
  KvnObsSubMessageWithSubMsgNo header;
  uint16_t nrOfDsps;
  uint32_t measuredUs;
  DspLoadEntry entries[1];
  KVNSIG_BODY(KvnDspLoadPrintCfmS, "KVN_DSPLOAD_PRINT_CFM");
  static constexpr size_t sizeFor(size_t n) {
    return offsetof(KvnDspLoadPrintCfmS, entries) + n * sizeof(DspLoadEntry);
  }
};
static_assert(sizeof(KvnDspLoadPrintCfmS) == 46);
static_assert(offsetof(KvnDspLoadPrintCfmS, entries) == 18);

#pragma pack(pop)
