#include "util/argparse/argparse_bool_option.h"

#include <utility>

namespace kvn::bits {

BoolOption::BoolOption(const Names& names, std::vector<Callback> callbacks)
    : NormalOption(names), callbacks_(std::move(callbacks)) {}

void BoolOption::consume(ArgList&) {
  for (const Callback& cb : callbacks_) cb();
}

}  // namespace kvn::bits
