#pragma once
// An operator's <daxo id> that names no connected agent, or several where one is wanted. The
// command answers with its text.

#include "util/cmd/cmd_parser_error.h"

namespace kvn {

class DaxoMatchError : public CmdParserError {
 public:
  using CmdParserError::CmdParserError;
};

}  // namespace kvn
