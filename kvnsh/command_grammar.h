#pragma once
// What completion knows of the service's commands: for each command path its sub-commands or
// verbs, its options (and which of them take an agent), and what its positional words are.
// Names that only the running service knows (agents, profiles, destinations) are kinds here;
// the completer asks the service for them. The docs test checks every word of this table
// against the usage texts that the service's command tree answers.

#include <string>
#include <vector>

namespace kvnsh {

class CommandGrammar {
 public:
  enum class Kind {
    kNone,
    kAgent,
    kProfile,
    kDestination,
    kAgentSource,
    kRouteDestination,
    kWords
  };

  struct Node {
    std::string path;                      // "zoth recorder start"
    std::vector<std::string> children;     // sub-commands or verbs
    std::vector<std::string> options;      // flags and valued options
    std::vector<std::string> agentValued;  // options whose value names an agent
    std::vector<std::string> valued;       // other options that take a value
    std::vector<Kind> positional;          // what each word after the path is
    std::vector<std::string> words;        // the candidates of a kWords position, or the
                                           // sources of a kAgentSource one ("1:rtt")
  };

  // The node of `path`, or null.
  static const Node* find(const std::string& path);
  static const std::vector<Node>& nodes();
  static const std::vector<std::string>& roots();
};

}  // namespace kvnsh
