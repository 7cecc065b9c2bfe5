#pragma once
// A node of the command tree: the roots are the shell commands (zoth, zorf, zomlek), below them
// the sub-commands. `parse` walks the words down the tree; the parser at the end of the path
// builds the session that runs the command. Parsers keep no per-command state.

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "util/cmd/cmd_parser_error.h"
#include "util/cmd/cmd_session.h"

namespace kvn {

class CmdParser {
 public:
  // `description` is the help line: the first line under "Info:" and the text of the parser in
  // its parent's list of sub-commands.
  CmdParser(const std::string& name, const std::string& description);
  virtual ~CmdParser() = default;
  CmdParser(const CmdParser&) = delete;
  CmdParser& operator=(const CmdParser&) = delete;

  // An invisible sub-command is left out of the usage list.
  virtual bool isVisible() const { return true; }

  // `args` are the words after this parser's name. Returns the session to run, or throws one of
  // the CmdParserError family.
  virtual std::shared_ptr<CmdSession> parse(const std::vector<std::string>& args);

  // Adds `child` below this parser and gives it its full name. Children must be added from the
  // root downwards: the full name does not reach the child's own children.
  CmdParser& addSubcommand(std::shared_ptr<CmdParser> child);

  const std::string& getName() const { return name; }
  const std::string& getDescription() const { return description; }
  const std::string& getFullName() const { return fullName; }

  // Info, syntax, options and sub-commands, and the closing lines on YLMs.
  std::string usage() const;

 protected:
  std::ostringstream info;    // "  <description>\n", then what derived classes add
  std::ostringstream syntax;  // "  <name> [--help] [@<YLM Name>] <subcmd>\n" unless replaced

 private:
  std::string name;
  std::string description;
  std::string fullName;
  std::vector<std::shared_ptr<CmdParser>> subcommands;
};

}  // namespace kvn
