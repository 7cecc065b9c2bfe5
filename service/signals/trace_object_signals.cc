#include "service/signals/trace_object_signals.h"

namespace {

void swapMasks(KvnTraceObjectSetMaskReqS* msg, size_t msgSize) {
  const uint16_t count =
      kvnsig::readAt<uint16_t>(msg, offsetof(KvnTraceObjectSetMaskReqS, count), msgSize);
  const size_t n = kvnsig::elementsWithin(count, offsetof(KvnTraceObjectSetMaskReqS, entries),
                                          sizeof(KvnTraceObjectMaskEntryS), msgSize);
  for (size_t i = 0; i < n; ++i) {
    const size_t base =
        offsetof(KvnTraceObjectSetMaskReqS, entries) + i * sizeof(KvnTraceObjectMaskEntryS);
    KVNSIG_SWAP_IN(msg, base, KvnTraceObjectMaskEntryS, strId, msgSize);
    KVNSIG_SWAP_IN(msg, base, KvnTraceObjectMaskEntryS, mask, msgSize);
  }
}

}  // namespace

void KvnTraceObjectSetMaskReqS::toNetwork(KvnTraceObjectSetMaskReqS* msg, size_t msgSize) {
  swapMasks(msg, msgSize);
  KVNSIG_SWAP(msg, count, msgSize);
}
void KvnTraceObjectSetMaskReqS::toHost(KvnTraceObjectSetMaskReqS* msg, size_t msgSize) {
  KVNSIG_SWAP(msg, count, msgSize);
  swapMasks(msg, msgSize);
}

void KvnTraceObjectInjectManualTraceUreqS::toNetwork(KvnTraceObjectInjectManualTraceUreqS* msg,
                                                     size_t msgSize) {
  const uint16_t words = kvnsig::readAt<uint16_t>(
      msg, offsetof(KvnTraceObjectInjectManualTraceUreqS, nrOfWords), msgSize);
  const size_t n = kvnsig::elementsWithin(
      words, offsetof(KvnTraceObjectInjectManualTraceUreqS, text), 2, msgSize);
  for (size_t i = 0; i < n; ++i)
    kvnsig::swapAt<uint16_t>(msg, offsetof(KvnTraceObjectInjectManualTraceUreqS, text) + 2 * i,
                             msgSize);
  KVNSIG_SWAP(msg, nrOfWords, msgSize);
}
void KvnTraceObjectInjectManualTraceUreqS::toHost(KvnTraceObjectInjectManualTraceUreqS* msg,
                                                  size_t msgSize) {
  // The text arrives in its own order and is read as it stands.
  KVNSIG_SWAP(msg, nrOfWords, msgSize);
}
