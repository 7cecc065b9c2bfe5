#pragma once
// The exceptions of the command option parser. `Error` and `InternalError` are faults of a
// command's declarations; everything an operator can cause derives from `ParseError`, which the
// commands catch and print.

#include <stdexcept>
#include <string>

namespace kvn::argparse {

// A wrong declaration (bad option names, conflicting targets).
class Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A logic error of the parser itself.
class InternalError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// What the operator typed does not fit the declarations.
class ParseError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class UnknownOptionError : public ParseError {
 public:
  using ParseError::ParseError;
};

class MissingArgumentError : public ParseError {
 public:
  using ParseError::ParseError;
};

class RangeError : public ParseError {
 public:
  using ParseError::ParseError;
};

class ArgumentError : public ParseError {
 public:
  using ParseError::ParseError;
};

}  // namespace kvn::argparse
