#include "util/argparse/argparse_string_option.h"

#include <utility>

namespace kvn::bits {

StringOption::StringOption(const Names& names, std::vector<Callback> callbacks)
    : NormalOption(names), callbacks_(std::move(callbacks)) {}

void StringOption::consume_arg(const std::string& arg) {
  for (const Callback& cb : callbacks_) cb(arg);
}

}  // namespace kvn::bits
