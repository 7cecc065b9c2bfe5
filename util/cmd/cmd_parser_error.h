#pragma once
// The errors a command's parser raises. The session factory turns each into what the operator
// sees: its text with result 1, its text with its own result code, or a refused command.

#include <cstdint>
#include <stdexcept>
#include <string>

namespace kvn {

// The command line is wrong; the text is shown and the command ends with 1.
class CmdParserError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// As CmdParserError, with the result the command ends with.
class CmdParserErrorCode : public CmdParserError {
 public:
  CmdParserErrorCode(const std::string& what, uint8_t code) : CmdParserError(what), code_(code) {}
  uint8_t code() const { return code_; }

 private:
  uint8_t code_;
};

// The command exists in the tree but not in this service; the front end is told it is refused.
class NotImplementedError : public CmdParserError {
 public:
  using CmdParserError::CmdParserError;
};

}  // namespace kvn
