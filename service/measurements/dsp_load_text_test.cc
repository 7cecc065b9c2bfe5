#include "service/measurements/dsp_load_text.h"

#include <gtest/gtest.h>

#include <stdio.h>

#include <sstream>
#include <string>
#include <vector>

namespace kvn {
namespace {

DspLoadEntry entry(uint16_t load, uint16_t pooled) {
  const auto min = static_cast<uint16_t>(load - 1), max = static_cast<uint16_t>(load + 1);
  return DspLoadEntry{min, max, load, {1u, 22u, 333u, 4444u, 4000000000u}, pooled};
}

std::string text(const DspLoadData& data, bool histogram) {
  std::ostringstream out;
  writeDspLoadText(out, data, histogram);
  return out.str();
}

TEST(DspLoadTextTest, StaticAndPooledTablesAndHistogramsNumberedByConfirmIndex) {
  // DSP 1 is pooled, DSP 2 neither static nor pooled: it is counted but shown nowhere.
  const DspLoadData data(1999, {entry(50, 0), entry(7, 1), entry(99, 2)});
  EXPECT_EQ(text(data, true),
            "\nSummary:\n"
            "Measured length           : 1 ms\n"
            "Number of DSPs used       : 3\n\n"
            "\nMax, average and min load per statically allocated DSP:\n"
            "DSP nr   :   0\n"
            "Max %    :  51\n"
            "Average %:  50\n"
            "Min %    :  49\n\n"
            "\nMax, average and min load per pooled DSP:\n"
            "DSP nr   :   1\n"
            "Max %    :   8\n"
            "Average %:   7\n"
            "Min %    :   6\n\n"
            "\nHistogram (counts in interval):\n"
            "Static DSP   0-20%       -40%       -60%       -80%       -100%\n"
            "  0              1         22        333       4444 4000000000\n\n"
            "Pool         0-20%       -40%       -60%       -80%       -100%\n"
            "  1              1         22        333       4444 4000000000\n\n");
  EXPECT_EQ(text(DspLoadData(999, {}), true),
            "\nSummary:\nMeasured length           : 0 ms\nNumber of DSPs used       : 0\n\n"
            "\nHistogram (counts in interval):\n");
}

TEST(DspLoadTextTest, BlocksOf35ColumnsCountedByPositionInEachList) {
  std::vector<DspLoadEntry> entries;
  for (uint16_t i = 0; i < 40; ++i) entries.push_back(entry(10, i % 10 == 9 ? 1 : 0));
  const std::string out = text(DspLoadData(0, entries), false);
  std::string firstBlock = "DSP nr   :";
  for (int i = 0; i <= 37; ++i) {
    if (i % 10 == 9) continue;
    char column[12];  // room for any int, so the format check holds at every optimisation level
    snprintf(column, sizeof column, "%4d", i);
    firstBlock += column;
  }
  // 36 static DSPs: a block of 35 and a block of one; the 4 pooled ones fit one block.
  EXPECT_NE(out.find("DSP:\n" + firstBlock + "\n"), std::string::npos) << out;
  EXPECT_NE(out.find("\n\nDSP nr   :  38\nMax %    :  11\nAverage %:  10\nMin %    :   9\n\n"),
            std::string::npos)
      << out;
  EXPECT_NE(out.find("pooled DSP:\nDSP nr   :   9  19  29  39\n"), std::string::npos) << out;
  EXPECT_EQ(out.find("Histogram"), std::string::npos) << "a snapshot has no histogram";
}

}  // namespace
}  // namespace kvn
