#include "service/signals/super_trace_signals.h"

void KvnSuperTraceProducerStartIndS::toNetwork(KvnSuperTraceProducerStartIndS* msg,
                                               size_t msgSize) {
  KVNSIG_SWAP(msg, sourceMask, msgSize);
}
void KvnSuperTraceProducerStartIndS::toHost(KvnSuperTraceProducerStartIndS* msg, size_t msgSize) {
  toNetwork(msg, msgSize);
}

void KvnSuperTraceProducerStopReqS::toNetwork(KvnSuperTraceProducerStopReqS* msg, size_t msgSize) {
  KVNSIG_SWAP(msg, sourceMask, msgSize);
}
void KvnSuperTraceProducerStopReqS::toHost(KvnSuperTraceProducerStopReqS* msg, size_t msgSize) {
  toNetwork(msg, msgSize);
}

void KvnSuperTraceBufferSetupReqS::toNetwork(KvnSuperTraceBufferSetupReqS* msg, size_t msgSize) {
  KVNSIG_SWAP(msg, setup, msgSize);
}
void KvnSuperTraceBufferSetupReqS::toHost(KvnSuperTraceBufferSetupReqS* msg, size_t msgSize) {
  toNetwork(msg, msgSize);
}

namespace {

void swapTime(void* msg, size_t base, size_t msgSize) {
  KVNSIG_SWAP_IN(msg, base, kvnSuperTimeS, seconds, msgSize);
  KVNSIG_SWAP_IN(msg, base, kvnSuperTimeS, microseconds, msgSize);
  KVNSIG_SWAP_IN(msg, base, kvnSuperTimeS, bfn, msgSize);
}

void swapBlockHeaders(KvnSuperTraceBufferIndexCfmS* msg, size_t msgSize) {
  const uint16_t count =
      kvnsig::readAt<uint16_t>(msg,
                               offsetof(KvnSuperTraceBufferIndexCfmS, index) +
                                   offsetof(kvnSuperTraceBufferIndexS, numBlockHeaders),
                               msgSize);
  const size_t n =
      kvnsig::elementsWithin(count, offsetof(KvnSuperTraceBufferIndexCfmS, blockHeaders),
                             sizeof(kvnSuperBlockHeaderS), msgSize);
  for (size_t i = 0; i < n; ++i) {
    const size_t base =
        offsetof(KvnSuperTraceBufferIndexCfmS, blockHeaders) + i * sizeof(kvnSuperBlockHeaderS);
    KVNSIG_SWAP_IN(msg, base, kvnSuperBlockHeaderS, source, msgSize);
    KVNSIG_SWAP_IN(msg, base, kvnSuperBlockHeaderS, address, msgSize);
    KVNSIG_SWAP_IN(msg, base, kvnSuperBlockHeaderS, size, msgSize);
    KVNSIG_SWAP_IN(msg, base, kvnSuperBlockHeaderS, dmaInterrupts, msgSize);
    KVNSIG_SWAP_IN(msg, base, kvnSuperBlockHeaderS, errors, msgSize);
    KVNSIG_SWAP_IN(msg, base, kvnSuperBlockHeaderS, sequence, msgSize);
    swapTime(msg, base + offsetof(kvnSuperBlockHeaderS, startTime), msgSize);
    swapTime(msg, base + offsetof(kvnSuperBlockHeaderS, endTime), msgSize);
  }
}

void swapIndex(KvnSuperTraceBufferIndexCfmS* msg, size_t msgSize) {
  const size_t base = offsetof(KvnSuperTraceBufferIndexCfmS, index);
  KVNSIG_SWAP_IN(msg, base, kvnSuperTraceBufferIndexS, blockSize, msgSize);
  KVNSIG_SWAP_IN(msg, base, kvnSuperTraceBufferIndexS, numBlockHeaders, msgSize);
}

}  // namespace

void KvnSuperTraceBufferIndexCfmS::toNetwork(KvnSuperTraceBufferIndexCfmS* msg, size_t msgSize) {
  swapBlockHeaders(msg, msgSize);
  swapIndex(msg, msgSize);
}
void KvnSuperTraceBufferIndexCfmS::toHost(KvnSuperTraceBufferIndexCfmS* msg, size_t msgSize) {
  swapIndex(msg, msgSize);
  swapBlockHeaders(msg, msgSize);
}

void KvnSuperTraceBufferDataReqS::toNetwork(KvnSuperTraceBufferDataReqS* msg, size_t msgSize) {
  KVNSIG_SWAP(msg, blockId, msgSize);
  KVNSIG_SWAP(msg, seqNum, msgSize);
  KVNSIG_SWAP(msg, offset, msgSize);
  KVNSIG_SWAP(msg, length, msgSize);
}
void KvnSuperTraceBufferDataReqS::toHost(KvnSuperTraceBufferDataReqS* msg, size_t msgSize) {
  toNetwork(msg, msgSize);
}

// The data words are copied as they stand.
void KvnSuperTraceBufferDataCfmS::toNetwork(KvnSuperTraceBufferDataCfmS* msg, size_t msgSize) {
  KVNSIG_SWAP(msg, blockId, msgSize);
  KVNSIG_SWAP(msg, seqNum, msgSize);
  KVNSIG_SWAP(msg, offset, msgSize);
  KVNSIG_SWAP(msg, length, msgSize);
}
void KvnSuperTraceBufferDataCfmS::toHost(KvnSuperTraceBufferDataCfmS* msg, size_t msgSize) {
  toNetwork(msg, msgSize);
}
