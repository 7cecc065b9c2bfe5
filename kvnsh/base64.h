#pragma once
// Base64 (the standard alphabet, with padding) of a byte stream that arrives in pieces: the
// recorder dump's chunks are one binary whole, so the encoding runs across chunk borders and
// only finish() pads. Output lines are 76 characters long, as common decoders expect.

#include <stddef.h>
#include <stdint.h>

#include <string>

namespace kvnsh {

class Base64 {
 public:
  static constexpr size_t kLineLength = 76;

  // Appends the text of `data` to `out`; up to two bytes wait for the next call.
  void feed(const uint8_t* data, size_t size, std::string* out);
  // Appends the waiting bytes with padding and ends an unfinished line. Afterwards the encoder
  // starts afresh.
  void finish(std::string* out);
  // True when something was fed since the last finish().
  bool open() const { return open_; }

  // The whole of `data` in one line, without a line break.
  static std::string encode(const void* data, size_t size);

 private:
  void put(char c, std::string* out);

  uint8_t held_[3] = {0, 0, 0};
  size_t heldCount_ = 0;
  size_t column_ = 0;
  bool open_ = false;
};

}  // namespace kvnsh
