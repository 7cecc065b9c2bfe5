#include "service/signals/utrace_signals.h"

namespace {

void swapEntries(KvnUtraceSetConfigReqS* msg, size_t msgSize) {
  const uint16_t count =
      kvnsig::readAt<uint16_t>(msg, offsetof(KvnUtraceSetConfigReqS, count), msgSize);
  const size_t n = kvnsig::elementsWithin(count, offsetof(KvnUtraceSetConfigReqS, entries),
                                          sizeof(KvnUtraceConfigEntryS), msgSize);
  for (size_t i = 0; i < n; ++i) {
    const size_t base =
        offsetof(KvnUtraceSetConfigReqS, entries) + i * sizeof(KvnUtraceConfigEntryS);
    KVNSIG_SWAP_IN(msg, base, KvnUtraceConfigEntryS, id, msgSize);
    KVNSIG_SWAP_IN(msg, base, KvnUtraceConfigEntryS, flags, msgSize);
  }
}

}  // namespace

void KvnUtraceSetConfigReqS::toNetwork(KvnUtraceSetConfigReqS* msg, size_t msgSize) {
  swapEntries(msg, msgSize);
  KVNSIG_SWAP(msg, count, msgSize);
}
void KvnUtraceSetConfigReqS::toHost(KvnUtraceSetConfigReqS* msg, size_t msgSize) {
  KVNSIG_SWAP(msg, count, msgSize);
  swapEntries(msg, msgSize);
}
