#include "service/signals/dsp_load_signals.h"

void KvnDspLoadStartReqS::toNetwork(KvnDspLoadStartReqS* msg, size_t msgSize) {
  KVNSIG_SWAP(msg, durationUs, msgSize);
}
void KvnDspLoadStartReqS::toHost(KvnDspLoadStartReqS* msg, size_t msgSize) {
  toNetwork(msg, msgSize);
}

void KvnDspLoadPrintReqS::toNetwork(KvnDspLoadPrintReqS*, size_t) {}  // one byte only
void KvnDspLoadPrintReqS::toHost(KvnDspLoadPrintReqS*, size_t) {}

namespace {

void swapPrintCfm(KvnDspLoadPrintCfmS* msg, size_t msgSize, size_t entries) {
  const size_t n = kvnsig::elementsWithin(entries, offsetof(KvnDspLoadPrintCfmS, entries),
                                          sizeof(DspLoadEntry), msgSize);
  for (size_t i = 0; i < n; ++i) {
    const size_t base = offsetof(KvnDspLoadPrintCfmS, entries) + i * sizeof(DspLoadEntry);
    KVNSIG_SWAP_IN(msg, base, DspLoadEntry, min, msgSize);
    KVNSIG_SWAP_IN(msg, base, DspLoadEntry, max, msgSize);
    KVNSIG_SWAP_IN(msg, base, DspLoadEntry, average, msgSize);
    KVNSIG_SWAP_IN(msg, base, DspLoadEntry, histogram, msgSize);
    KVNSIG_SWAP_IN(msg, base, DspLoadEntry, pooled, msgSize);
  }
  KVNSIG_SWAP(msg, measuredUs, msgSize);
}

}  // namespace

void KvnDspLoadPrintCfmS::toNetwork(KvnDspLoadPrintCfmS* msg, size_t msgSize) {
  const uint16_t n =
      kvnsig::readAt<uint16_t>(msg, offsetof(KvnDspLoadPrintCfmS, nrOfDsps), msgSize);
  swapPrintCfm(msg, msgSize, n);
  KVNSIG_SWAP(msg, nrOfDsps, msgSize);
}
void KvnDspLoadPrintCfmS::toHost(KvnDspLoadPrintCfmS* msg, size_t msgSize) {
  KVNSIG_SWAP(msg, nrOfDsps, msgSize);
  swapPrintCfm(msg, msgSize,
               kvnsig::readAt<uint16_t>(msg, offsetof(KvnDspLoadPrintCfmS, nrOfDsps), msgSize));
}
