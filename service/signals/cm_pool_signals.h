#pragma once
// CM pool usage, between the service and the agent's measurement routine.

#include <stddef.h>
#include <stdint.h>

#include <string>

#include "base/kvn_obs_sub_message_with_sub_msg_no.h"
#include "service/signals/signal_byte_order.h"

#pragma pack(push, 1)

KVNSIG_HEADER_ONLY(KvnCmPoolUsageReqS, "KVN_CMPOOL_USAGE_REQ");  // 7

// One block size of the pool.
struct KvnCmPoolBlockS {
  uint16_t blockSizeInWords;
  uint16_t totalNumberOfBlocks;
  uint16_t allocatedNumberOfBlocks;
  uint16_t maximumAllocatedNumberOfBlocks;
};
static_assert(sizeof(KvnCmPoolBlockS) == 8);

// Sub-message 8: all 16 block entries are always present; `nrOfBlocks` of them are in use.
struct KvnCmPoolUsageCfmS {
  static constexpr size_t kBlocks = 16;
  KvnObsSubMessageWithSubMsgNo header;
  uint32_t allocatedWords;
  uint32_t totalWords;
  uint16_t nrOfBlocks;
  KvnCmPoolBlockS blocks[kBlocks];
  KVNSIG_BODY(KvnCmPoolUsageCfmS, "KVN_CMPOOL_USAGE_CFM");
};
static_assert(sizeof(KvnCmPoolUsageCfmS) == 150);

#pragma pack(pop)
