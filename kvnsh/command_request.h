#pragma once
// The request that hands one command line to the service's session factory: protocol version,
// the word count including the root, and the words one after the other, each NUL-terminated.

#include <stdint.h>

#include <string>
#include <vector>

namespace kvnsh {

class CommandRequest {
 public:
  static constexpr size_t kMaxWords = 255;
  static constexpr size_t kMaxArgsLength = 65535;

  // Checks that the words fit the request's u8 count and u16 block length. On failure
  // `error` says why and nothing is built.
  static bool fits(const std::vector<std::string>& words, std::string* error);

  // The whole message, header included, from routine `src` to the factory. The words must fit.
  static std::vector<uint8_t> encode(const std::vector<std::string>& words, uint16_t src);
};

}  // namespace kvnsh
