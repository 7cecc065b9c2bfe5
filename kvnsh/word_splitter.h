#pragma once
// Splits a typed command line into words the way a POSIX shell does before expansion: blanks
// separate words, single quotes keep everything, double quotes keep everything but a backslash
// before $ ` " \ or a newline, a backslash outside quotes keeps the next character, and # at the
// start of a word begins a comment. Nothing is expanded: $, ` and * stay as they are.

#include <string>
#include <string_view>
#include <vector>

namespace kvnsh {

class WordSplitter {
 public:
  struct Result {
    bool ok = false;
    std::vector<std::string> words;
    std::string error;  // why the line cannot be split, when !ok
  };

  static Result split(std::string_view line);
};

}  // namespace kvnsh
