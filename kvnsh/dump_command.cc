#include "kvnsh/dump_command.h"

#include <algorithm>

namespace kvnsh {

bool DumpCommand::is(const std::vector<std::string>& words) {
  return words.size() >= 3 && words[0] == "zoth" && words[1] == "recorder" &&
         std::find(words.begin() + 2, words.end(), "dump") != words.end();
}

bool DumpCommand::base64(const std::vector<std::string>& words) {
  return std::find(words.begin(), words.end(), "--base64") != words.end();
}

}  // namespace kvnsh
