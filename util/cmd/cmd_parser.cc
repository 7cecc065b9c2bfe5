#include "util/cmd/cmd_parser.h"

#include <algorithm>
#include <iomanip>
#include <utility>

#include "util/cmd/output_cmd_session.h"

namespace kvn {

namespace {

// The width of the name column of the usage text.
constexpr size_t kMinColumn = 12;
constexpr size_t kMaxColumn = 30;

}  // namespace

CmdParser::CmdParser(const std::string& name, const std::string& description)
    : name(name), description(description), fullName(name) {
  info << "  " << description << "\n";
  syntax << "  " << name << " [--help] [@<YLM Name>] <subcmd>\n";
}

std::shared_ptr<CmdSession> CmdParser::parse(const std::vector<std::string>& args) {
  if (!args.empty() && (args[0] == "-h" || args[0] == "--help"))
    return std::make_shared<OutputCmdSession>(usage(), 0);
  if (!args.empty() && !args[0].empty() && args[0][0] == '-')
    return std::make_shared<OutputCmdSession>("Unknown option '" + args[0] + "'.\n" + usage(), 1);
  if (args.empty())
    return std::make_shared<OutputCmdSession>(name + " needs a subcommand.\n" + usage(), 1);

  const std::string& word = args[0];
  for (const auto& sub : subcommands) {
    if (sub->getName() == word)
      return sub->parse(std::vector<std::string>(args.begin() + 1, args.end()));
  }
  return std::make_shared<OutputCmdSession>("No such subcommand. '" + word + "'\n" + usage(), 2);
}

CmdParser& CmdParser::addSubcommand(std::shared_ptr<CmdParser> child) {
  child->fullName = fullName + " " + child->name;
  subcommands.push_back(std::move(child));
  return *this;
}

std::string CmdParser::usage() const {
  size_t width = 0;
  for (const auto& sub : subcommands) width = std::max(width, sub->getName().size());
  width = std::clamp(width, kMinColumn, kMaxColumn);
  const int w = static_cast<int>(width);

  std::ostringstream out;
  out << std::left;
  out << "\n"
      << "Info:\n"
      << info.str() << "\n";
  out << "Syntax:\n" << syntax.str() << "\n";
  if (!subcommands.empty()) {
    out << "  Global options:\n";
    out << "    " << std::setw(w) << "-h | --help"
        << " "
        << "Output usage instructions\n";
    out << "    " << std::setw(w) << "@<YLM> "
        << "Specify YLM. E.g. " << fullName << " @MOKA SUBCMD\n\n";
    out << "  Subcommands:\n";
    for (const auto& sub : subcommands) {
      if (!sub->isVisible()) continue;
      out << "    " << std::setw(w) << sub->getName() << " " << sub->getDescription() << "\n";
    }
    out << "\n";
  }
  out << "Use @<YLM name> to specify an YLM, e.g. zorf @MOKA log status *\n"
      << "If YLM name is not specified, the command will try to find a controller \n"
      << "by looking at the agent expression and if this fails it will run on \n"
      << "the default controller."
      << "\n";
  return out.str();
}

}  // namespace kvn
