#pragma once
// The head of an agent's trace hit counter table: the four words of its info confirm.

#include <stdint.h>

namespace kvn {

struct TraceHitCounterInfo {
  uint32_t droppedHits = 0;    // lost by overflow of the agent's small buffer
  uint32_t droppedStrids = 0;  // strings that got no counter as the table was full
  uint32_t reserved = 0;
  uint32_t nrOfEntries = 0;  // rows in the table
};

}  // namespace kvn
