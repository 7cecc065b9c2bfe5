#pragma once
// One agent's DSP load reading, copied out of its print confirm: how long it measured and the
// figures of each DSP, by the DSP's index in the confirm.

#include <stddef.h>
#include <stdint.h>

#include <vector>

#include "service/signals/dsp_load_signals.h"

namespace kvn {

class DspLoadData {
 public:
  DspLoadData(uint32_t measuredUs, std::vector<DspLoadEntry> entries);

  // The confirm of `msgSize` bytes, in host order. Entries that `nrOfDsps` promises beyond the
  // end of the message are not taken; that is logged.
  static DspLoadData fromConfirm(const KvnDspLoadPrintCfmS* cfm, size_t msgSize);

  uint32_t getMeasuredMs() const { return measuredUs / 1000; }
  size_t getDspCount() const { return entries.size(); }
  // The indices of the statically allocated (pooled 0) and the pooled (pooled 1) DSPs, in
  // ascending order; a DSP with any other value is in neither.
  std::vector<size_t> getStaticDsps() const { return dspsPooled(0); }
  std::vector<size_t> getPooledDsps() const { return dspsPooled(1); }
  const DspLoadEntry& operator[](size_t index) const { return entries[index]; }

 private:
  std::vector<size_t> dspsPooled(uint16_t pooled) const;

  uint32_t measuredUs;
  std::vector<DspLoadEntry> entries;
};

}  // namespace kvn
