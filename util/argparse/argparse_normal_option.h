#pragma once
// An option with a short and/or a long name that takes one word (unless a subclass says
// otherwise). Typed options derive from it and override `consume_arg`.

#include <string>

#include "util/argparse/argparse_option_base.h"

namespace kvn::bits {

class NormalOption : public OptionBase {
 public:
  // The names a declaration ("-h, --help") resolves to.
  struct Names {
    char shortName = 0;
    std::string longName;  // with its two dashes, empty when there is none
  };

  // Resolves a comma-separated declaration; throws kvn::argparse::Error on a bad one.
  static Names parseNames(const char* declaration);

  explicit NormalOption(const Names& names);

  char shortName() const override { return shortName_; }
  int nargs() const override { return 1; }
  void consume(ArgList& args) override;
  bool tryLong(ArgList& args) override;
  virtual void consume_arg(const std::string& arg);

  const std::string& longName() const { return longName_; }
  const std::string& displayName() const { return displayName_; }

 private:
  char shortName_;
  std::string longName_;
  std::string displayName_;
};

}  // namespace kvn::bits
