#pragma once
// Message bodies as peers send them: values appended in network order.

#include <stdint.h>

#include <vector>

namespace kvn::testing {

using Bytes = std::vector<uint8_t>;

// The low `bytes` bytes of `value`, most significant first.
inline void putBe(Bytes& b, uint32_t value, int bytes) {
  for (int i = bytes - 1; i >= 0; --i) b.push_back(static_cast<uint8_t>(value >> (8 * i)));
}
inline void put16(Bytes& b, uint16_t v) { putBe(b, v, 2); }
inline void put32(Bytes& b, uint32_t v) { putBe(b, v, 4); }

}  // namespace kvn::testing
