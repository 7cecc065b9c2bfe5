#include "service/measurements/dsp_load_text.h"

#include <algorithm>
#include <iomanip>
#include <vector>

namespace kvn {

namespace {

constexpr size_t kBlockColumns = 35;

void writeLoadTable(std::ostream& out, const DspLoadData& data, const std::vector<size_t>& dsps) {
  // The entries are packed: their fields are read by value, never through a member pointer.
  struct Row {
    const char* title;
    unsigned (*value)(const DspLoadEntry&);
  };
  static const Row kRows[] = {
      {"Max %    :", [](const DspLoadEntry& e) -> unsigned { return e.max; }},
      {"Average %:", [](const DspLoadEntry& e) -> unsigned { return e.average; }},
      {"Min %    :", [](const DspLoadEntry& e) -> unsigned { return e.min; }}};
  for (size_t first = 0; first < dsps.size(); first += kBlockColumns) {
    const size_t last = std::min(dsps.size(), first + kBlockColumns);
    out << "DSP nr   :";
    for (size_t i = first; i < last; ++i) out << std::setw(4) << dsps[i];
    out << "\n";
    for (const Row& row : kRows) {
      out << row.title;
      for (size_t i = first; i < last; ++i) out << std::setw(4) << row.value(data[dsps[i]]);
      out << "\n";
    }
    out << "\n";
  }
}

void writeHistogram(std::ostream& out, const DspLoadData& data, const std::vector<size_t>& dsps,
                    const char* title) {
  out << title << "   0-20%       -40%       -60%       -80%       -100%"
      << "\n";
  for (size_t dsp : dsps) {
    out << std::setw(3) << dsp << "    ";
    for (size_t interval = 0; interval < 5; ++interval) {
      const uint32_t count = data[dsp].histogram[interval];
      out << std::setw(11) << count;
    }
    out << "\n";
  }
  out << "\n";
}

}  // namespace

void writeDspLoadText(std::ostream& out, const DspLoadData& data, bool histogram) {
  const std::ios_base::fmtflags flags = out.flags();
  out << std::right;
  const std::vector<size_t> staticDsps = data.getStaticDsps();
  const std::vector<size_t> pooledDsps = data.getPooledDsps();
  out << "\n"
      << "Summary:"
      << "\n";
  out << "Measured length           : " << data.getMeasuredMs() << " ms"
      << "\n";
  out << "Number of DSPs used       : " << data.getDspCount() << "\n";
  out << "\n";
  if (!staticDsps.empty()) {
    out << "\n"
        << "Max, average and min load per statically allocated DSP:"
        << "\n";
    writeLoadTable(out, data, staticDsps);
  }
  if (!pooledDsps.empty()) {
    out << "\n"
        << "Max, average and min load per pooled DSP:"
        << "\n";
    writeLoadTable(out, data, pooledDsps);
  }
  if (histogram) {
    out << "\n"
        << "Histogram (counts in interval):"
        << "\n";
    if (!staticDsps.empty()) writeHistogram(out, data, staticDsps, "Static DSP");
    if (!pooledDsps.empty()) writeHistogram(out, data, pooledDsps, "Pool      ");
  }
  out.flags(flags);
}

}  // namespace kvn
