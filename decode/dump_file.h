#pragma once
// A recorder dump as kvnsh leaves it: the raw bytes that `--output` writes, or the base64 text
// it prints on standard output otherwise. Which one a file holds is seen from its bytes: a raw
// dump always has bytes outside the base64 alphabet (the "LPP\n" marker's line feed comes
// fourth, and every record has a kind below 4 at its third byte).

#include <stdint.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace kvn::decode {

class DumpFile {
 public:
  enum class Encoding { kAuto, kRaw, kBase64 };

  class Error : public std::runtime_error {
   public:
    using std::runtime_error::runtime_error;
  };

  // The dump's bytes from `path` ("-" for standard input), decoded from base64 when it is text.
  static std::vector<uint8_t> read(const std::string& path, Encoding encoding);
  // True when `text` is nothing but base64 and white space.
  static bool isBase64(const std::vector<uint8_t>& text);
  // Decodes base64, white space ignored, up to the padding; throws Error on anything else.
  static std::vector<uint8_t> decodeBase64(const std::vector<uint8_t>& text);
};

}  // namespace kvn::decode
