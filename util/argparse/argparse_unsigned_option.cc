#include "util/argparse/argparse_unsigned_option.h"

#include <sstream>
#include <utility>

#include "util/argparse/argparse_errors.h"

namespace kvn::bits {

UnsignedOption::UnsignedOption(const Names& names, uint32_t min, uint32_t max,
                               std::vector<Callback> callbacks)
    : NormalOption(names), min_(min), max_(max), callbacks_(std::move(callbacks)) {}

void UnsignedOption::consume_arg(const std::string& arg) {
  const size_t first = arg.find_first_not_of(" \t");
  const std::string text = first == std::string::npos
                               ? std::string()
                               : arg.substr(first, arg.find_last_not_of(" \t") - first + 1);
  if (!text.empty() && text[0] == '-')
    throw argparse::RangeError("Negative values not allowed for option '" + longName() + "'");

  std::istringstream in(text);
  in.unsetf(std::ios::basefield);  // base from the prefix, as in C
  uint32_t value = 0;
  if (!(in >> value)) value = 0;

  if (value < min_ || value > max_)
    throw argparse::RangeError("Argument for option '" + longName() + "' outside allowed range (" +
                               std::to_string(min_) + ", " + std::to_string(max_) + ")");
  for (const Callback& cb : callbacks_) cb(value);
}

}  // namespace kvn::bits
