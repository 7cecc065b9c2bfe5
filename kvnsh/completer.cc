#include "kvnsh/completer.h"

#include <ctype.h>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <utility>

#include "kvnsh/shell_options.h"
#include "kvnsh/word_splitter.h"

namespace kvnsh {
namespace {

using Kind = CommandGrammar::Kind;

bool has(const std::vector<std::string>& list, const std::string& word) {
  return std::find(list.begin(), list.end(), word) != list.end();
}

bool isOption(const std::string& word) { return word.size() > 1 && word[0] == '-'; }

// The word being typed asks for options from its first '-' on.
bool wantsOption(const std::string& partial) { return !partial.empty() && partial[0] == '-'; }

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> out;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) out.push_back(line);
  return out;
}

}  // namespace

Completer::Completer(Ask ask) : ask_(std::move(ask)) {}

std::vector<std::string> Completer::complete(const std::vector<std::string>& words) {
  if (words.empty()) return {};
  const std::string& partial = words.back();
  const size_t typed = words.size() - 1;
  std::vector<std::string> found;

  // The shell's own options, before the command.
  static const std::vector<std::string> kShellOptions = {"-s", "--service", "-n", "--namespace",
                                                         "-o", "--output",  "-h", "--help"};
  size_t i = 0;
  bool valueWanted = false;
  for (; i < typed && isOption(words[i]); ++i) {
    if (words[i] == "--") {
      ++i;
      break;
    }
    valueWanted = words[i] == "-s" || words[i] == "--service" || words[i] == "-n" ||
                  words[i] == "--namespace" || words[i] == "-o" || words[i] == "--output";
    if (valueWanted && i + 1 < typed) {
      ++i;
      valueWanted = false;
    }
  }
  if (valueWanted) return {};
  const CommandGrammar::Node* node = nullptr;
  size_t positional = 0;
  if (i == typed) {
    found = wantsOption(partial) ? kShellOptions : CommandGrammar::roots();
  } else if (ShellOptions::isRootCommand(words[i])) {
    node = CommandGrammar::find(words[i]);
    for (++i; i < typed; ++i) {
      const std::string& w = words[i];
      if (isOption(w)) {
        if ((has(node->valued, w) || has(node->agentValued, w)) && ++i == typed) {
          // The partial word is the option's value.
          if (has(node->agentValued, w)) found = namesOf(Kind::kAgent, {});
          node = nullptr;
        }
        continue;
      }
      if (positional == 0 && has(node->children, w)) {
        node = CommandGrammar::find(node->path + " " + w);
        if (node == nullptr) return {};
      } else {
        ++positional;
      }
    }
  }
  if (node != nullptr) {
    if (wantsOption(partial)) {
      found = node->options;
    } else if (positional == 0 && !node->children.empty()) {
      found = node->children;
    } else if (positional < node->positional.size()) {
      const Kind kind = node->positional[positional];
      found = kind == Kind::kWords ? node->words : namesOf(kind, node->words);
    }
  }

  std::vector<std::string> out;
  for (const std::string& c : found)
    if (c.compare(0, partial.size(), partial) == 0) out.push_back(c);
  std::sort(out.begin(), out.end());
  out.erase(std::unique(out.begin(), out.end()), out.end());
  return out;
}

Completer::LineCompletion Completer::completeLine(const std::string& line) {
  LineCompletion result;
  const WordSplitter::Result split = WordSplitter::split(line);
  if (!split.ok) return result;
  std::vector<std::string> words = split.words;
  // After a blank a new word begins.
  if (line.empty() || line.back() == ' ' || line.back() == '\t') words.emplace_back();
  if (words.empty()) return result;
  result.partial = words.back();
  if (words.size() == 1 && wantsOption(result.partial)) return result;  // no shell options here
  result.candidates = complete(words);
  if (words.size() == 1) {
    for (const char* own : {"help", "exit", "quit"})
      if (std::string(own).compare(0, result.partial.size(), result.partial) == 0)
        result.candidates.push_back(own);
  }
  return result;
}

std::vector<std::string> Completer::agentsOf(const std::string& infoText) {
  // "Instance name  Physical daxo id  Domain daxo index  Role index", then a row an agent.
  std::vector<std::string> out;
  for (const std::string& line : lines(infoText)) {
    std::istringstream in(line);
    std::vector<std::string> columns{std::istream_iterator<std::string>(in), {}};
    if (columns.size() == 4 && isdigit(static_cast<unsigned char>(columns[1][0]))) {
      out.push_back(columns[1]);
      out.push_back(columns[0] + "/" + columns[2]);
    } else if (columns.size() == 3 && isdigit(static_cast<unsigned char>(columns[0][0]))) {
      out.push_back(columns[0]);  // an agent without an instance name
    }
  }
  return out;
}

std::vector<std::string> Completer::profilesOf(const std::string& listText) {
  // "Profiles:", then a name a line.
  std::vector<std::string> out;
  bool listed = false;
  for (const std::string& line : lines(listText)) {
    if (listed && !line.empty() && line.find(' ') == std::string::npos) out.push_back(line);
    listed = listed || line == "Profiles:";
  }
  return out;
}

std::vector<std::string> Completer::destinationsOf(const std::string& listText) {
  // A title, then a header row that begins with "Name", then a destination a row.
  std::vector<std::string> out;
  bool listed = false;
  for (const std::string& line : lines(listText)) {
    std::istringstream in(line);
    std::string name;
    if (listed && (in >> name)) out.push_back(name);
    listed = listed || line.compare(0, 5, "Name ") == 0;
  }
  return out;
}

std::vector<std::string> Completer::namesOf(Kind kind, const std::vector<std::string>& sources) {
  switch (kind) {
    case Kind::kAgent:
      return asked({"zoth", "info"}, &agentsOf);
    case Kind::kProfile:
      return asked({"zoth", "profile", "list"}, &profilesOf);
    case Kind::kDestination:
      return asked({"zoth", "dest", "list"}, &destinationsOf);
    case Kind::kAgentSource: {
      std::vector<std::string> out;
      for (const std::string& agent : asked({"zoth", "info"}, &agentsOf)) {
        if (agent.find('/') != std::string::npos) continue;  // the numbers are short enough
        for (const std::string& source : sources) out.push_back(agent + ":" + source);
      }
      return out;
    }
    case Kind::kRouteDestination: {
      std::vector<std::string> out = {"ebcom", "embuf", "logserver"};
      for (const std::string& d : asked({"zoth", "dest", "list"}, &destinationsOf))
        out.push_back(d);
      return out;
    }
    default:
      return {};
  }
}

const std::vector<std::string>& Completer::asked(
    const std::vector<std::string>& command,
    std::vector<std::string> (*parse)(const std::string&)) {
  std::string key;
  for (const std::string& w : command) key += w + " ";
  auto it = answers_.find(key);
  if (it == answers_.end()) it = answers_.emplace(key, parse(ask_ ? ask_(command) : "")).first;
  return it->second;
}

}  // namespace kvnsh
