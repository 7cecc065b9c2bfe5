#pragma once
// The interface every command option implements, as the option parser sees it.

#include <deque>
#include <string>

namespace kvn::bits {

// The words still to be parsed; options take theirs from the front.
using ArgList = std::deque<std::string>;

class OptionBase {
 public:
  // The short name character, 0 when the option has none.
  virtual char shortName() const = 0;
  // How many words the option takes after its name.
  virtual int nargs() const = 0;
  // Takes the option's words from the front of `args` and stores them.
  virtual void consume(ArgList& args) = 0;
  // If args[0] is this option's long name: takes it, consumes its words and returns true.
  virtual bool tryLong(ArgList& args) = 0;
  virtual ~OptionBase() = default;
};

}  // namespace kvn::bits
