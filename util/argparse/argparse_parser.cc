#include "util/argparse/argparse_parser.h"

#include <utility>

namespace kvn::argparse {

OptionBuilder Parser::add(const char* declaration, uint32_t min, uint32_t max) {
  return OptionBuilder(*this, bits::NormalOption::parseNames(declaration), min, max);
}

void Parser::addOption(std::unique_ptr<bits::OptionBase> option) {
  if (option) options_.push_back(std::move(option));
}

std::vector<std::string> Parser::parse(const std::vector<std::string>& argv) {
  std::vector<std::string> positional;
  bits::ArgList args(argv.begin(), argv.end());
  while (!args.empty()) {
    const std::string a = args.front();
    if (a.size() >= 2 && a[0] == '-' && a[1] != '-') {
      args.pop_front();
      parseShortCluster(a.substr(1), args);
    } else if (a.size() >= 2 && a[0] == '-' && a[1] == '-') {
      bool taken = false;
      for (const auto& option : options_) {
        if (option->tryLong(args)) {
          taken = true;
          break;
        }
      }
      if (!taken) throw UnknownOptionError("Unknown option " + a);
    } else {
      positional.push_back(a);
      args.pop_front();
    }
  }
  return positional;
}

void Parser::parseShortCluster(const std::string& cluster, bits::ArgList& args) {
  for (const char c : cluster) {
    bits::OptionBase* found = nullptr;
    for (const auto& option : options_) {
      if (option->shortName() == c) {
        found = option.get();
        break;
      }
    }
    if (found == nullptr) throw UnknownOptionError(std::string("Unknown option '-") + c + "'");
    if (args.size() < static_cast<size_t>(found->nargs()))
      throw MissingArgumentError(std::string("Too few arguments for option -") + c);
    found->consume(args);
  }
}

}  // namespace kvn::argparse
