#pragma once

#include <random>
#include <string>
#include <vector>

namespace kvn::soak {

// Command lines for the soak, drawn from a seeded generator: every command of the service's
// tree with agents named every way an operator may (numbers, names, all, unknown ones), and
// lines that the parsers must turn down (bad words, missing arguments, unknown commands).
class CommandMix {
 public:
  explicit CommandMix(std::mt19937& random) : random_(random) {}

  // The words of the next line, the command name first.
  std::vector<std::string> next();

 private:
  // Mostly a known agent, sometimes all of them, a name, or one that is not there.
  std::string agent();
  const std::string& pick(const std::vector<std::string>& words);

  std::mt19937& random_;
};

}  // namespace kvn::soak
