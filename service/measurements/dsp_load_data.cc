#include "service/measurements/dsp_load_data.h"

#include <string.h>

#include <utility>

#include "tracing/log.h"

namespace kvn {

DspLoadData::DspLoadData(uint32_t measuredUs, std::vector<DspLoadEntry> entries)
    : measuredUs(measuredUs), entries(std::move(entries)) {}

DspLoadData DspLoadData::fromConfirm(const KvnDspLoadPrintCfmS* cfm, size_t msgSize) {
  constexpr size_t kFirst = offsetof(KvnDspLoadPrintCfmS, entries);
  const uint16_t promised =
      kvnsig::readAt<uint16_t>(cfm, offsetof(KvnDspLoadPrintCfmS, nrOfDsps), msgSize);
  const size_t held = kvnsig::elementsWithin(promised, kFirst, sizeof(DspLoadEntry), msgSize);
  if (held < promised)
    TC_LOG_ERROR("DSP load confirm of %zu bytes holds %zu of its %u DSP entries", msgSize, held,
                 static_cast<unsigned>(promised));
  std::vector<DspLoadEntry> entries(held);
  if (held > 0)
    memcpy(entries.data(), reinterpret_cast<const uint8_t*>(cfm) + kFirst,
           held * sizeof(DspLoadEntry));
  return DspLoadData(
      kvnsig::readAt<uint32_t>(cfm, offsetof(KvnDspLoadPrintCfmS, measuredUs), msgSize),
      std::move(entries));
}

std::vector<size_t> DspLoadData::dspsPooled(uint16_t pooled) const {
  std::vector<size_t> out;
  for (size_t i = 0; i < entries.size(); ++i)
    if (entries[i].pooled == pooled) out.push_back(i);
  return out;
}

}  // namespace kvn
