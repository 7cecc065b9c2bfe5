// kvn-completion-words: checks what the shell's completion offers (kvnsh/command_grammar.cc)
// against the service's own command tree: every sub-command, verb and fixed word must be a word
// of the usage that the command answers, and every option must be one that its parser takes.
// Prints what is wrong and exits 1.
#include <ctype.h>
#include <stdio.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "kvnsh/command_grammar.h"
#include "service/command_tree.h"
#include "util/cmd/cmd_parser.h"
#include "util/cmd/cmd_parser_error.h"
#include "util/cmd/output_cmd_session.h"

namespace {

using Words = std::vector<std::string>;

Words split(const std::string& path) {
  std::istringstream in(path);
  return Words(std::istream_iterator<std::string>(in), {});
}

// What the command answers, whatever way it answers.
std::string answer(kvn::CmdParser& root, const Words& words) {
  try {
    const auto session = std::dynamic_pointer_cast<kvn::OutputCmdSession>(root.parse(words));
    return session ? session->getText() : std::string();
  } catch (const std::exception& e) {
    return e.what();
  }
}

// `zorf log` reads its verb before any option, and answers its usage to `zorf log status -h`.
Words withVerb(const Words& below) {
  Words words = below;
  if (below == Words{"log"}) words.push_back("status");
  return words;
}

// The words of the usage: runs of letters, digits, '-' and '_'.
std::set<std::string> usageWords(kvn::CmdParser& root, const Words& below) {
  Words words = withVerb(below);
  words.push_back("-h");
  std::set<std::string> out;
  std::string word;
  for (const char c : answer(root, words) + " ") {
    if (isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_') {
      word += c;
    } else if (!word.empty()) {
      out.insert(word);
      word.clear();
    }
  }
  return out;
}

bool has(const Words& list, const std::string& word) {
  return std::find(list.begin(), list.end(), word) != list.end();
}

// Whether the command's parser takes `option` (with a value when it wants one).
bool takes(kvn::CmdParser& root, const Words& below, const std::string& option, bool valued) {
  Words words = withVerb(below);
  words.push_back(option);
  if (valued) words.push_back("1");
  words.push_back("-h");
  return answer(root, words).find("Unknown option") == std::string::npos;
}

}  // namespace

int main() {
  const std::vector<std::shared_ptr<kvn::CmdParser>> tree = kvn::makeCommandTree();
  int wrong = 0;
  for (const kvnsh::CommandGrammar::Node& node : kvnsh::CommandGrammar::nodes()) {
    Words path = split(node.path);
    // A verb's fixed words are checked against its command's usage.
    const bool verb = path.size() > 2;
    if (verb) path.resize(2);
    std::shared_ptr<kvn::CmdParser> root;
    for (const auto& r : tree)
      if (r->getName() == path[0]) root = r;
    if (!root) {
      printf("%s: no such root in the service\n", node.path.c_str());
      ++wrong;
      continue;
    }
    const Words below(path.begin() + 1, path.end());
    const std::set<std::string> known = usageWords(*root, below);
    Words offered = node.words;
    if (!verb) offered.insert(offered.end(), node.children.begin(), node.children.end());
    for (const std::string& word : offered) {
      if (known.count(word) == 0) {
        printf("%s: '%s' is not in its usage\n", node.path.c_str(), word.c_str());
        ++wrong;
      }
    }
    // A root and route take no option but -h; their parsers have no table to ask.
    if (verb || takes(*root, below, "--no-such-option", false)) continue;
    for (const std::string& option : node.options) {
      if (!takes(*root, below, option, has(node.valued, option) || has(node.agentValued, option))) {
        printf("%s: '%s' is not an option of the command\n", node.path.c_str(), option.c_str());
        ++wrong;
      }
    }
  }
  if (wrong == 0) printf("kvn-completion-words: completion offers only what the service takes\n");
  return wrong == 0 ? 0 : 1;
}
