#pragma once
// An option with one unsigned 32-bit value in [min, max]. The value is read in C style:
// 0x for hexadecimal, a leading 0 for octal.

#include <cstdint>
#include <functional>
#include <vector>

#include "util/argparse/argparse_normal_option.h"

namespace kvn::bits {

class UnsignedOption : public NormalOption {
 public:
  using Callback = std::function<void(uint32_t)>;

  UnsignedOption(const Names& names, uint32_t min, uint32_t max, std::vector<Callback> callbacks);

  void consume_arg(const std::string& arg) override;

 private:
  uint32_t min_;
  uint32_t max_;
  std::vector<Callback> callbacks_;
};

}  // namespace kvn::bits
