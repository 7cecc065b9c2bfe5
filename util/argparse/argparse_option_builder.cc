#include "util/argparse/argparse_option_builder.h"

#include <memory>
#include <utility>

#include "util/argparse/argparse_bool_option.h"
#include "util/argparse/argparse_errors.h"
#include "util/argparse/argparse_parser.h"
#include "util/argparse/argparse_string_option.h"
#include "util/argparse/argparse_unsigned_option.h"

namespace kvn::argparse {

OptionBuilder::OptionBuilder(Parser& parser, const bits::NormalOption::Names& names, uint32_t min,
                             uint32_t max)
    : parser_(parser), names_(names), min_(min), max_(max) {}

OptionBuilder::~OptionBuilder() {
  std::unique_ptr<bits::OptionBase> option;
  switch (kind_) {
    case Kind::None:  // declared without a target: accepted, and ignored
    case Kind::Bool:
      option = std::make_unique<bits::BoolOption>(names_, std::move(boolCallbacks_));
      break;
    case Kind::Unsigned:
      option =
          std::make_unique<bits::UnsignedOption>(names_, min_, max_, std::move(unsignedCallbacks_));
      break;
    case Kind::String:
      option = std::make_unique<bits::StringOption>(names_, std::move(stringCallbacks_));
      break;
  }
  parser_.addOption(std::move(option));
}

void OptionBuilder::setKind(Kind kind) {
  if (kind_ != Kind::None && kind_ != kind) {
    throw Error("Targets of different kinds bound to option " +
                (names_.longName.empty() ? std::string("-") + names_.shortName : names_.longName));
  }
  kind_ = kind;
}

OptionBuilder& OptionBuilder::operator>>(bool& flag) {
  return *this >> std::function<void()>([&flag] { flag = true; });
}

OptionBuilder& OptionBuilder::operator>>(std::function<void()> callback) {
  setKind(Kind::Bool);
  boolCallbacks_.push_back(std::move(callback));
  return *this;
}

OptionBuilder& OptionBuilder::operator>>(std::function<void(uint32_t)> callback) {
  setKind(Kind::Unsigned);
  unsignedCallbacks_.push_back(std::move(callback));
  return *this;
}

OptionBuilder& OptionBuilder::operator>>(std::string& text) {
  return *this >> std::function<void(std::string)>([&text](std::string v) { text = std::move(v); });
}

OptionBuilder& OptionBuilder::operator>>(std::function<void(std::string)> callback) {
  setKind(Kind::String);
  stringCallbacks_.push_back(std::move(callback));
  return *this;
}

}  // namespace kvn::argparse
