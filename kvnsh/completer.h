#pragma once
// Completion of command lines, for `kvnsh --complete`, the bash completion that calls it, and
// the prompt's Tab: the shell's own options, the commands, sub-commands and options of
// CommandGrammar, and the names only the running service knows (agents, profiles,
// destinations), which it asks the service for through `ask`, at most once each.

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "kvnsh/command_grammar.h"

namespace kvnsh {

class Completer {
 public:
  // Runs a command and gives its output; empty when there is no answer.
  using Ask = std::function<std::string(const std::vector<std::string>& words)>;

  explicit Completer(Ask ask);

  // The candidates for the last of `words`, the one being typed (may be empty), sorted. The
  // words are a kvnsh command line without the program name: the shell's options may lead.
  std::vector<std::string> complete(const std::vector<std::string>& words);

  // At the prompt: the line up to the cursor; gives the word being typed and its candidates,
  // the prompt's own commands among them. Nothing for a line that cannot be split (an open
  // quote).
  struct LineCompletion {
    std::string partial;
    std::vector<std::string> candidates;
  };
  LineCompletion completeLine(const std::string& line);

  // What the service's answers name, as parsed from the texts of `zoth info`, `zoth profile
  // list` and `zoth dest list`.
  static std::vector<std::string> agentsOf(const std::string& infoText);
  static std::vector<std::string> profilesOf(const std::string& listText);
  static std::vector<std::string> destinationsOf(const std::string& listText);

 private:
  // `sources`: those of a kAgentSource.
  std::vector<std::string> namesOf(CommandGrammar::Kind kind,
                                   const std::vector<std::string>& sources);
  const std::vector<std::string>& asked(const std::vector<std::string>& command,
                                        std::vector<std::string> (*parse)(const std::string&));

  Ask ask_;
  std::map<std::string, std::vector<std::string>> answers_;
};

}  // namespace kvnsh
