#pragma once
// How the agent's simulated SuperTrace path behaves: the size of its buffer, the rates at which
// the producers fill it and the consumer drains it, and how long a stop takes. From the
// description's "superTrace" section; every field has a default.
//
// "fixedIndex" replaces what was recorded by a directory of the description's own, for tests of
// the index and its statistics: {"blockSize": 4096, "count": 3, "blocks": [{"source": 4,
// "size": 100, "sequence": 1, "dmaInterrupts": 2, "errors": 0, "start": [s, us, bfn],
// "end": [s, us, bfn]}]}. All block fields but "source" and "size" may be left out. With
// "count", the blocks are repeated in turn until there are that many, each copy numbered on
// from the last sequence and moved on in time by the whole span of the list.

#include <stdint.h>

#include <optional>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "daxo-sim/simulated_buffer.h"

namespace kvn::daxosim {

struct SuperTraceSettings {
  uint64_t bufferWords = 1 << 20;  // 16-bit words
  uint32_t blockWords = 4096;      // the largest block
  double producerRate = 200000;    // words per second, from each source in the mask
  // The producers write trace records, this many a second from each source in the mask, unless
  // the description gives "producerRate": then they write counter words at that rate, a load
  // of known content for the data path's tests.
  double recordRate = 200;
  bool counterWords = false;
  double consumerRate = 1000000;  // words per second
  uint32_t stopDelayMs = 0;       // before a producer or consumer stop is confirmed
  uint32_t tickMs = 10;           // how often the buffer moves while anything runs

  struct FixedIndex {
    uint32_t blockSize = 4096;
    std::vector<SimulatedBuffer::Block> blocks;  // `writes` stands for the DMA interrupt field
  };
  std::optional<FixedIndex> fixedIndex;

  // Throws AgentDescription::Error, naming the field.
  static SuperTraceSettings fromJson(const nlohmann::json& j);
};

}  // namespace kvn::daxosim
