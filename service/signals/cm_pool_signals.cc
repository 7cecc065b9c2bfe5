#include "service/signals/cm_pool_signals.h"

void KvnCmPoolUsageCfmS::toNetwork(KvnCmPoolUsageCfmS* msg, size_t msgSize) {
  KVNSIG_SWAP(msg, allocatedWords, msgSize);
  KVNSIG_SWAP(msg, totalWords, msgSize);
  KVNSIG_SWAP(msg, nrOfBlocks, msgSize);
  // All sixteen entries travel, whatever `nrOfBlocks` says.
  for (size_t i = 0; i < kBlocks; ++i) {
    const size_t base = offsetof(KvnCmPoolUsageCfmS, blocks) + i * sizeof(KvnCmPoolBlockS);
    KVNSIG_SWAP_IN(msg, base, KvnCmPoolBlockS, blockSizeInWords, msgSize);
    KVNSIG_SWAP_IN(msg, base, KvnCmPoolBlockS, totalNumberOfBlocks, msgSize);
    KVNSIG_SWAP_IN(msg, base, KvnCmPoolBlockS, allocatedNumberOfBlocks, msgSize);
    KVNSIG_SWAP_IN(msg, base, KvnCmPoolBlockS, maximumAllocatedNumberOfBlocks, msgSize);
  }
}
void KvnCmPoolUsageCfmS::toHost(KvnCmPoolUsageCfmS* msg, size_t msgSize) {
  toNetwork(msg, msgSize);
}
