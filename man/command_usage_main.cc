// kvn-command-usage: the parts of kvnsh(1) that the programs themselves know, as scdoc text.
// `commands`: every command of the service's command tree with the usage that the service
// answers, asked exactly as a shell's `-h` would, so the manual shows what an operator sees.
// `statuses`: the shell's own exit statuses, as `kvnsh --help` lists them.
#include <ctype.h>
#include <stdio.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "kvnsh/shell_options.h"
#include "service/command_tree.h"
#include "util/cmd/cmd_parser.h"
#include "util/cmd/cmd_parser_error.h"
#include "util/cmd/output_cmd_session.h"

namespace {

struct Answer {
  bool refused = false;
  std::string text;
};

Answer ask(kvn::CmdParser& root, const std::vector<std::string>& words) {
  try {
    const auto session = std::dynamic_pointer_cast<kvn::OutputCmdSession>(root.parse(words));
    return {false, session ? session->getText() : std::string()};
  } catch (const kvn::NotImplementedError& e) {
    return {true, e.what()};
  } catch (const kvn::CmdParserError& e) {
    return {false, e.what()};
  }
}

// The visible sub-commands, as the root's usage lists them.
std::vector<std::string> subcommands(const kvn::CmdParser& root) {
  std::vector<std::string> names;
  std::istringstream in(root.usage());
  bool inList = false;
  for (std::string line; std::getline(in, line);) {
    if (line == "  Subcommands:") {
      inList = true;
    } else if (inList) {
      std::istringstream words(line);
      std::string name;
      if (!(words >> name)) break;
      names.push_back(name);
    }
  }
  return names;
}

std::string join(const std::vector<std::string>& words) {
  std::string out;
  for (const std::string& w : words) out += (out.empty() ? "" : " ") + w;
  return out;
}

// scdoc reads a literal block as it stands, but for its closing fence.
void literal(const std::string& text) {
  fputs("```\n", stdout);
  fputs(text.c_str(), stdout);
  if (text.empty() || text.back() != '\n') fputc('\n', stdout);
  fputs("```\n\n", stdout);
}

// Where a command that refuses `-h` answers with its usage instead: `zorf log` checks its
// first word before any option.
const std::vector<std::string>* usageWordsOf(const std::string& path) {
  static const std::vector<std::string> kZorfLog = {"log", "status", "-h"};
  return path == "zorf" || path == "zorf log" ? &kZorfLog : nullptr;
}

void describe(kvn::CmdParser& root, const std::vector<std::string>& below) {
  std::vector<std::string> words = below;
  words.push_back("-h");
  const std::string path = root.getName() + (below.empty() ? "" : " " + join(below));
  printf("## %s\n\n", path.c_str());
  const Answer answer = ask(root, words);
  if (!answer.refused) {
    literal(answer.text);
    return;
  }
  printf("The service refuses *%s -h* (\"%s\").", path.c_str(), answer.text.c_str());
  const std::vector<std::string>* instead = usageWordsOf(path);
  if (instead == nullptr) {
    printf("\n\n");
    return;
  }
  const std::string usagePath = root.getName() + " " + join(*instead);
  if (below.empty()) {  // the usage is shown once, below the sub-command
    printf(" Its usage comes with *%s*, below.\n\n", usagePath.c_str());
    return;
  }
  printf(" Its usage comes with *%s*:\n\n", usagePath.c_str());
  literal(ask(root, *instead).text);
}

// "  100  bad option ...", below "Exit status:".
void statuses() {
  std::istringstream in(kvnsh::ShellOptions::usage());
  bool listed = false;
  for (std::string line; std::getline(in, line);) {
    listed = listed || line.compare(0, 12, "Exit status:") == 0;
    unsigned status = 0;
    int at = 0;
    if (!listed || line.compare(0, 2, "  ") != 0 || !isdigit(static_cast<unsigned char>(line[2])) ||
        sscanf(line.c_str(), "%u  %n", &status, &at) != 1 || at == 0)
      continue;
    std::string meaning = line.substr(static_cast<size_t>(at));
    meaning[0] = static_cast<char>(toupper(static_cast<unsigned char>(meaning[0])));
    printf("*%u*\n\t%s.\n\n", status, meaning.c_str());
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::string what = argc > 1 ? argv[1] : "";
  if (what == "statuses") {
    statuses();
  } else if (what == "commands") {
    for (const auto& root : kvn::makeCommandTree()) {
      describe(*root, {});
      for (const std::string& sub : subcommands(*root)) describe(*root, {sub});
    }
  } else {
    fprintf(stderr, "usage: kvn-command-usage commands|statuses\n");
    return 2;
  }
  return 0;
}
