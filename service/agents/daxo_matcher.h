#pragma once
// The kinds of name an agent answers to in an operator's <daxo id>, and the name of agent n
// under each.

#include <stdint.h>

#include <string>

namespace kvn {

enum DaxoMatcher : int {
  MATCH_NUMBER = 0,     // "1"
  MATCH_ADDRESS = 1,    // n << 8: "256"
  MATCH_EQUIPMENT = 2,  // "bbEqm000001"
  MATCH_DAXO = 3,       // "DAXO1"
  MATCH_ROLE = 4,       // the role index: "65535" when there is none
  MATCH_INSTANCE = 5,   // "MOKA/1", or "NO INSTANCE NAME"
};

// The name of agent `bbmHwNumber` under `matcher`, from its record.
std::string daxoMatcherName(int matcher, uint16_t bbmHwNumber);

}  // namespace kvn
