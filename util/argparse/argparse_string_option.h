#pragma once
// An option with one word of text as its value.

#include <functional>
#include <string>
#include <vector>

#include "util/argparse/argparse_normal_option.h"

namespace kvn::bits {

class StringOption : public NormalOption {
 public:
  using Callback = std::function<void(std::string)>;

  StringOption(const Names& names, std::vector<Callback> callbacks);

  void consume_arg(const std::string& arg) override;

 private:
  std::vector<Callback> callbacks_;
};

}  // namespace kvn::bits
