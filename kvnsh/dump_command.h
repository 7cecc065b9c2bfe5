#pragma once
// Whether a command line is a recorder dump, whose text chunks are binary trace data rather
// than text: they go raw to the output file, and never raw to a terminal.

#include <string>
#include <vector>

namespace kvnsh {

class DumpCommand {
 public:
  // `words` start with the root command, as the shell sends them.
  static bool is(const std::vector<std::string>& words);
  // The dump asks the service for base64 chunks.
  static bool base64(const std::vector<std::string>& words);
};

}  // namespace kvnsh
