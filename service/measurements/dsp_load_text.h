#pragma once
// The operator's view of one DSP load reading: the summary, the load tables of the static and
// the pooled DSPs in blocks of 35 columns, and (for a finished measurement) the histograms.

#include <ostream>

#include "service/measurements/dsp_load_data.h"

namespace kvn {

void writeDspLoadText(std::ostream& out, const DspLoadData& data, bool histogram);

}  // namespace kvn
