#pragma once
// What LmcWriter needs to know of one load module: its header fields, its content and how the
// content is stored. The faults are for tests that need containers a correct writer would not
// make; they stay unset otherwise.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace kvn::lmc {

struct LmDefinition {
  std::string identity;      // at most 31 bytes
  std::string role;          // at most 15 bytes
  uint16_t compression = 0;  // CA: 0 stored, 1 deflate stream
  bool gzip = false;         // gzip framing instead of zlib framing for what is deflated
  std::array<uint32_t, 3> dataHeader{};
  uint32_t snid = 0;
  std::string content;

  struct Faults {
    std::optional<uint16_t> lmfv;
    std::optional<uint16_t> lmt;
    std::optional<uint16_t> ca;   // written as CA, while `compression` decides the encoding
    std::optional<uint32_t> nlm;  // words
    std::optional<uint32_t> dcl;  // words
    bool badCrc = false;
    size_t cutData = 0;  // bytes dropped from the end of the encoded data
  } faults;
};

}  // namespace kvn::lmc
