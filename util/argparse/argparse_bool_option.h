#pragma once
// A flag: takes no word, and runs its bindings each time it is given.

#include <functional>
#include <vector>

#include "util/argparse/argparse_normal_option.h"

namespace kvn::bits {

class BoolOption : public NormalOption {
 public:
  using Callback = std::function<void()>;

  BoolOption(const Names& names, std::vector<Callback> callbacks);

  int nargs() const override { return 0; }
  void consume(ArgList& args) override;

 private:
  std::vector<Callback> callbacks_;
};

}  // namespace kvn::bits
