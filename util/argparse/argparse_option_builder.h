#pragma once
// The short-lived object behind a one-line option declaration:
//
//   kvn::argparse::Parser p;
//   p.add("-h, --help") >> help;           // bool: set to true when given
//   p.add("-n, --count", 1, 64) >> count;  // unsigned integer within [1, 64]
//   p.add("-s, --snid") >> snid;           // text
//   p.add("-v") >> [&] { ++verbosity; };   // any callable
//
// The target decides the kind of option. Several targets may be bound to one option; the option
// is added to the parser when the builder goes out of scope at the end of the statement.

#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "util/argparse/argparse_normal_option.h"

namespace kvn::argparse {

class Parser;

class OptionBuilder {
 public:
  OptionBuilder(Parser& parser, const bits::NormalOption::Names& names, uint32_t min, uint32_t max);
  ~OptionBuilder();
  OptionBuilder(const OptionBuilder&) = delete;
  OptionBuilder& operator=(const OptionBuilder&) = delete;

  OptionBuilder& operator>>(bool& flag);
  OptionBuilder& operator>>(std::function<void()> callback);
  OptionBuilder& operator>>(std::function<void(uint32_t)> callback);
  OptionBuilder& operator>>(std::string& text);
  OptionBuilder& operator>>(std::function<void(std::string)> callback);

  // Any other integer: its own range caps the declared one.
  template <typename T,
            typename = std::enable_if_t<std::is_integral_v<T> && !std::is_same_v<T, bool>>>
  OptionBuilder& operator>>(T& value) {
    if (std::numeric_limits<T>::max() < max_)
      max_ = static_cast<uint32_t>(std::numeric_limits<T>::max());
    return *this >>
           std::function<void(uint32_t)>([&value](uint32_t v) { value = static_cast<T>(v); });
  }

 private:
  enum class Kind { None, Bool, Unsigned, String };
  void setKind(Kind kind);

  Parser& parser_;
  bits::NormalOption::Names names_;
  uint32_t min_;
  uint32_t max_;
  Kind kind_ = Kind::None;
  std::vector<std::function<void()>> boolCallbacks_;
  std::vector<std::function<void(uint32_t)>> unsignedCallbacks_;
  std::vector<std::function<void(std::string)>> stringCallbacks_;
};

}  // namespace kvn::argparse
