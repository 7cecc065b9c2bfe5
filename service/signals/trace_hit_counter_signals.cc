#include "service/signals/trace_hit_counter_signals.h"

void KvnTraceHitCounterInfoCfmS::toNetwork(KvnTraceHitCounterInfoCfmS* msg, size_t msgSize) {
  KVNSIG_SWAP(msg, droppedHits, msgSize);
  KVNSIG_SWAP(msg, droppedStrids, msgSize);
  KVNSIG_SWAP(msg, reserved, msgSize);
  KVNSIG_SWAP(msg, nrOfEntries, msgSize);
}
void KvnTraceHitCounterInfoCfmS::toHost(KvnTraceHitCounterInfoCfmS* msg, size_t msgSize) {
  toNetwork(msg, msgSize);
}

void KvnTraceHitCounterDataReqS::toNetwork(KvnTraceHitCounterDataReqS* msg, size_t msgSize) {
  KVNSIG_SWAP(msg, firstIndex, msgSize);
}
void KvnTraceHitCounterDataReqS::toHost(KvnTraceHitCounterDataReqS* msg, size_t msgSize) {
  toNetwork(msg, msgSize);
}

namespace {

void swapEntries(KvnTraceHitCounterDataCfmS* msg, size_t msgSize, size_t entries) {
  const size_t n = kvnsig::elementsWithin(entries, offsetof(KvnTraceHitCounterDataCfmS, entries),
                                          sizeof(TraceHitEntry), msgSize);
  for (size_t i = 0; i < n; ++i) {
    const size_t base = offsetof(KvnTraceHitCounterDataCfmS, entries) + i * sizeof(TraceHitEntry);
    KVNSIG_SWAP_IN(msg, base, TraceHitEntry, strid, msgSize);
    KVNSIG_SWAP_IN(msg, base, TraceHitEntry, traceGroup, msgSize);
    KVNSIG_SWAP_IN(msg, base, TraceHitEntry, arg1, msgSize);
    KVNSIG_SWAP_IN(msg, base, TraceHitEntry, arg2, msgSize);
    KVNSIG_SWAP_IN(msg, base, TraceHitEntry, arg3, msgSize);
    KVNSIG_SWAP_IN(msg, base, TraceHitEntry, counter, msgSize);
    KVNSIG_SWAP_IN(msg, base, TraceHitEntry, firstHit, msgSize);
    KVNSIG_SWAP_IN(msg, base, TraceHitEntry, lastHit, msgSize);
  }
}

uint16_t entryCount(const KvnTraceHitCounterDataCfmS* msg, size_t msgSize) {
  return kvnsig::readAt<uint16_t>(msg, offsetof(KvnTraceHitCounterDataCfmS, nrOfEntries), msgSize);
}

}  // namespace

void KvnTraceHitCounterDataCfmS::toNetwork(KvnTraceHitCounterDataCfmS* msg, size_t msgSize) {
  swapEntries(msg, msgSize, entryCount(msg, msgSize));
  KVNSIG_SWAP(msg, nrOfEntries, msgSize);
  KVNSIG_SWAP(msg, firstIndex, msgSize);
}
void KvnTraceHitCounterDataCfmS::toHost(KvnTraceHitCounterDataCfmS* msg, size_t msgSize) {
  KVNSIG_SWAP(msg, nrOfEntries, msgSize);
  KVNSIG_SWAP(msg, firstIndex, msgSize);
  swapEntries(msg, msgSize, entryCount(msg, msgSize));
}
