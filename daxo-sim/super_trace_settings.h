#pragma once
// How the agent's simulated SuperTrace path behaves: the size of its buffer, the rates at which
// the producers fill it and the consumer drains it, and how long a stop takes. From the
// description's "superTrace" section; every field has a default.

#include <stdint.h>

#include <nlohmann/json_fwd.hpp>

namespace kvn::daxosim {

struct SuperTraceSettings {
  uint64_t bufferWords = 1 << 20;  // 16-bit words
  uint32_t blockWords = 4096;      // the largest block
  double producerRate = 200000;    // words per second, from each source in the mask
  double consumerRate = 1000000;   // words per second
  uint32_t stopDelayMs = 0;        // before a producer or consumer stop is confirmed
  uint32_t tickMs = 10;            // how often the buffer moves while anything runs

  // Throws AgentDescription::Error, naming the field.
  static SuperTraceSettings fromJson(const nlohmann::json& j);
};

}  // namespace kvn::daxosim
