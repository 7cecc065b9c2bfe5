#pragma once
// What a UDP session confirm of the TSI proxy gives the transport session: where the agent's
// trace data goes on the transport network.

#include <stdint.h>

namespace kvn {

struct TnParameters {
  uint32_t sessionId = 0;
  uint32_t pcep = 0;
  uint16_t qidx = 0;
  uint8_t mac[6] = {};
  uint16_t innerVlan = 0;
  uint16_t outerVlan = 0;
};

}  // namespace kvn
