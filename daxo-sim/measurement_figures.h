#pragma once
// What the agent's measurement function (IMPLEMENTS 11) reports, from the "measurements" field of
// its description: the DSPs of its DSP load tables and its CM pool.
//
//   "measurements": {
//     "snapshotUs": 1000000,
//     "dsps": [{"min": 5, "max": 80, "average": 40, "histogram": [10, 20, 30, 5, 1],
//               "pooled": 0}],
//     "cmPool": {"allocatedWords": 1200, "totalWords": 65536,
//                "blocks": [{"blockSizeInWords": 8, "totalNumberOfBlocks": 100,
//                            "allocatedNumberOfBlocks": 12, "maximumAllocatedNumberOfBlocks": 20}]}
//   }

#include <stdint.h>

#include <array>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace kvn::daxosim {

struct MeasurementFigures {
  static constexpr size_t kMaxBlocks = 16;

  struct Dsp {
    uint16_t min = 0;
    uint16_t max = 0;
    uint16_t average = 0;
    std::array<uint32_t, 5> histogram{};
    uint16_t pooled = 0;  // 0 static, 1 pooled
  };
  struct Block {
    uint16_t blockSizeInWords = 0;
    uint16_t totalNumberOfBlocks = 0;
    uint16_t allocatedNumberOfBlocks = 0;
    uint16_t maximumAllocatedNumberOfBlocks = 0;
  };

  // Throws AgentDescription::Error naming the offending field.
  static MeasurementFigures fromJson(const nlohmann::json& j);

  uint32_t snapshotUs = 1000000;  // the measured time a snapshot reports
  std::vector<Dsp> dsps;
  uint32_t allocatedWords = 0;
  uint32_t totalWords = 0;
  std::vector<Block> blocks;  // at most kMaxBlocks
};

}  // namespace kvn::daxosim
