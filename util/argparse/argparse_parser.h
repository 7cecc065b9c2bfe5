#pragma once
// The option parser of one command's `parse`: built on its stack, declared with one-line
// `add(declaration) >> target` statements (see option_builder), run once over the words after the
// command's name. Short options cluster ("-ab"), a value option takes the next word, long options
// are matched whole ("--count 5"); there is no "--opt=value" form and no end-of-options marker.

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "util/argparse/argparse_errors.h"
#include "util/argparse/argparse_option_base.h"
#include "util/argparse/argparse_option_builder.h"

namespace kvn::argparse {

class Parser {
 public:
  Parser() = default;
  Parser(const Parser&) = delete;
  Parser& operator=(const Parser&) = delete;

  // Declares an option by its comma-separated names; an unsigned target is limited to [min, max].
  // Throws Error for a bad declaration.
  OptionBuilder add(const char* declaration, uint32_t min = 0,
                    uint32_t max = std::numeric_limits<uint32_t>::max());

  // Runs the bindings of the options given, in the order given, and returns the positional
  // words. Throws ParseError (or a subclass) for what the operator got wrong.
  std::vector<std::string> parse(const std::vector<std::string>& args);

  // Takes ownership of a ready option; used by OptionBuilder.
  void addOption(std::unique_ptr<bits::OptionBase> option);

 private:
  void parseShortCluster(const std::string& cluster, bits::ArgList& args);

  std::vector<std::unique_ptr<bits::OptionBase>> options_;  // in the order of declaration
};

}  // namespace kvn::argparse
