#include "util/argparse/argparse_normal_option.h"

#include "util/argparse/argparse_errors.h"

namespace kvn::bits {

namespace {

std::string stripBlanks(const std::string& s) {
  const size_t first = s.find_first_not_of(" \t");
  if (first == std::string::npos) return std::string();
  const size_t last = s.find_last_not_of(" \t");
  return s.substr(first, last - first + 1);
}

}  // namespace

NormalOption::Names NormalOption::parseNames(const char* declaration) {
  if (declaration == nullptr) throw argparse::Error("Zero-string in option csv list");
  const std::string all(declaration);
  Names names;
  size_t start = 0;
  while (true) {
    const size_t comma = all.find(',', start);
    const std::string item = stripBlanks(
        all.substr(start, comma == std::string::npos ? std::string::npos : comma - start));
    if (item.empty()) throw argparse::Error("Empty string in option list");
    if (item.size() == 1) {
      names.shortName = item[0];
    } else if (item.size() == 2 && item[0] == '-') {
      names.shortName = item[1];
    } else if (item.compare(0, 2, "--") == 0) {
      if (item.size() < 4) throw argparse::Error("Too short long option");
      names.longName = item;
    } else if (item[0] == '-') {
      throw argparse::Error("Long option specified with only one '-'.");
    } else {
      names.longName = "--" + item;
    }
    if (comma == std::string::npos) break;
    start = comma + 1;
  }
  if (names.shortName == 0 && names.longName.empty())
    throw argparse::Error("No valid option name specified: " + all);
  return names;
}

NormalOption::NormalOption(const Names& names)
    : shortName_(names.shortName),
      longName_(names.longName),
      displayName_(names.longName.empty() ? std::string("-") + names.shortName : names.longName) {}

void NormalOption::consume(ArgList& args) {
  const int n = nargs();
  if (n != 0 && n != 1)
    throw argparse::InternalError(
        "internal error: consume() must be overrided for options with > 1 arguments");
  if (args.size() < static_cast<size_t>(n))
    throw argparse::MissingArgumentError(
        "Too few arguments for option " +
        (longName_.empty() ? std::string(1, shortName_) : longName_));
  if (n == 0) return;
  if (args.front().empty()) throw argparse::ParseError("null arg");
  consume_arg(args.front());
  args.pop_front();
}

bool NormalOption::tryLong(ArgList& args) {
  if (longName_.empty() || args.empty() || args.front() != longName_) return false;
  args.pop_front();
  consume(args);
  return true;
}

void NormalOption::consume_arg(const std::string&) {
  throw argparse::Error("internal error. consume_arg not overloaded");
}

}  // namespace kvn::bits
