#pragma once
// SuperTrace, between the service and the agent's SuperTrace routine (control: producer and
// consumer, 0 to 5, and the buffer notices 8 and 9) and memory buffer routine (buffer: set-up,
// index and data, 6, 7 and 10 to 13). One family of numbers, two routines.

#include <stddef.h>
#include <stdint.h>

#include <string>

#include "base/kvn_obs_sub_message_with_sub_msg_no.h"
#include "service/signals/signal_byte_order.h"

#pragma pack(push, 1)

// --- control ---

KVNSIG_HEADER_ONLY(KvnSuperTraceConsumerStartIndS, "KVN_SUPERTRACE_CONSUMER_START_IND");  // 0
KVNSIG_HEADER_ONLY(KvnSuperTraceConsumerStopReqS, "KVN_SUPERTRACE_CONSUMER_STOP_REQ");    // 1
KVNSIG_HEADER_ONLY(KvnSuperTraceConsumerStopCfmS, "KVN_SUPERTRACE_CONSUMER_STOP_CFM");    // 2

// Sub-message 3: `sourceMask` bit 0 token, bits 1 to 3 rtt, bit 4 lpp.
struct KvnSuperTraceProducerStartIndS {
  KvnObsSubMessageWithSubMsgNo header;
  uint16_t sourceMask;
  KVNSIG_BODY(KvnSuperTraceProducerStartIndS, "KVN_SUPERTRACE_PRODUCER_START_IND");
};
static_assert(sizeof(KvnSuperTraceProducerStartIndS) == 14);

// Sub-message 4.
struct KvnSuperTraceProducerStopReqS {
  KvnObsSubMessageWithSubMsgNo header;
  uint16_t sourceMask;
  KVNSIG_BODY(KvnSuperTraceProducerStopReqS, "KVN_SUPERTRACE_PRODUCER_STOP_REQ");
};
static_assert(sizeof(KvnSuperTraceProducerStopReqS) == 14);

KVNSIG_HEADER_ONLY(KvnSuperTraceProducerStopCfmS, "KVN_SUPERTRACE_PRODUCER_STOP_CFM");  // 5

// From the agent, received by the SuperTrace controller without a proxy.
KVNSIG_HEADER_ONLY(KvnSuperTraceBufferFullIndS, "KVN_SUPERTRACE_BUFFER_FULL_IND");    // 8
KVNSIG_HEADER_ONLY(KvnSuperTraceBufferEmptyIndS, "KVN_SUPERTRACE_BUFFER_EMPTY_IND");  // 9

// --- buffer ---

// Sub-message 6.
struct KvnSuperTraceBufferSetupReqS {
  KvnObsSubMessageWithSubMsgNo header;
  uint16_t setup;  // always 3
  KVNSIG_BODY(KvnSuperTraceBufferSetupReqS, "KVN_SUPERTRACE_BUFFER_SETUP_REQ");
};
static_assert(sizeof(KvnSuperTraceBufferSetupReqS) == 14);

KVNSIG_HEADER_ONLY(KvnSuperTraceBufferSetupCfmS, "KVN_SUPERTRACE_BUFFER_SETUP_CFM");  // 7
KVNSIG_HEADER_ONLY(KvnSuperTraceBufferIndexReqS, "KVN_SUPERTRACE_BUFFER_INDEX_REQ");  // 10

// A point in time of a block: wall time, and the baseband frame number.
struct kvnSuperTimeS {
  uint32_t seconds;  // since 1970
  uint32_t microseconds;
  uint32_t bfn;
};
static_assert(sizeof(kvnSuperTimeS) == 12);

// One block in the agent's buffer.
struct kvnSuperBlockHeaderS {
  uint16_t source;  // 0 token, 1 to 3 rtt, 4 lpp
  uint32_t address;
  uint32_t size;           // in 16-bit words
  uint16_t dmaInterrupts;  // the count of DMA interrupts less 1
  uint16_t errors;
  uint16_t sequence;
  kvnSuperTimeS startTime;
  kvnSuperTimeS endTime;
};
static_assert(sizeof(kvnSuperBlockHeaderS) == 40);

struct kvnSuperTraceBufferIndexS {
  uint32_t blockSize;  // the largest block size, in words
  uint16_t numBlockHeaders;
};
static_assert(sizeof(kvnSuperTraceBufferIndexS) == 6);

// Sub-message 11: `index.numBlockHeaders` headers from offset 18; the record's size counts one.
struct KvnSuperTraceBufferIndexCfmS {
  KvnObsSubMessageWithSubMsgNo header;
  kvnSuperTraceBufferIndexS index;
  kvnSuperBlockHeaderS blockHeaders[1];
  KVNSIG_BODY(KvnSuperTraceBufferIndexCfmS, "KVN_SUPERTRACE_BUFFER_INDEX_CFM");
  static constexpr size_t sizeFor(size_t n) {
    return offsetof(KvnSuperTraceBufferIndexCfmS, blockHeaders) + n * sizeof(kvnSuperBlockHeaderS);
  }
};
static_assert(sizeof(KvnSuperTraceBufferIndexCfmS) == 58);

// Sub-message 12: `length` words (at most 1024) from `offset` words into block `blockId`.
struct KvnSuperTraceBufferDataReqS {
  KvnObsSubMessageWithSubMsgNo header;
  uint16_t blockId;
  uint16_t seqNum;
  uint32_t offset;
  uint32_t length;
  KVNSIG_BODY(KvnSuperTraceBufferDataReqS, "KVN_SUPERTRACE_BUFFER_DATA_REQ");
};
static_assert(sizeof(KvnSuperTraceBufferDataReqS) == 24);

// Sub-message 13: the request's four fields, then `length` words of data, which travel as they
// stand.
struct KvnSuperTraceBufferDataCfmS {
  KvnObsSubMessageWithSubMsgNo header;
  uint16_t blockId;
  uint16_t seqNum;
  uint32_t offset;
  uint32_t length;
  uint16_t data[1];
  KVNSIG_BODY(KvnSuperTraceBufferDataCfmS, "KVN_SUPERTRACE_BUFFER_DATA_CFM");
  static constexpr size_t sizeFor(size_t words) {
    return offsetof(KvnSuperTraceBufferDataCfmS, data) + 2 * words;
  }
};
static_assert(offsetof(KvnSuperTraceBufferDataCfmS, data) == 24);

#pragma pack(pop)
