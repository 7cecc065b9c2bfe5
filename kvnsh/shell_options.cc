#include "kvnsh/shell_options.h"

#include <string.h>

#include "kvnsh/exit_status.h"

namespace kvnsh {
namespace {

const char* baseName(const char* path) {
  const char* slash = strrchr(path, '/');
  return slash ? slash + 1 : path;
}

}  // namespace

bool ShellOptions::isRootCommand(const std::string& name) {
  return name == "zoth" || name == "zorf" || name == "zomlek";
}

bool ShellOptions::parse(int argc, const char* const* argv, const Getenv& getenv, ShellOptions* out,
                         std::string* error) {
  *out = ShellOptions();
  if (const char* v = getenv("KVNSH_SERVICE"); v && *v) out->service = v;
  if (const char* v = getenv("KVNSH_NAMESPACE"); v && *v) out->nameSpace = v;
  if (const char* v = getenv("KVNSH_OUTPUT"); v && *v) out->output = v;
  if (argc < 1) return true;

  const std::string self = baseName(argv[0]);
  if (isRootCommand(self)) {
    out->words.push_back(self);
    out->words.insert(out->words.end(), argv + 1, argv + argc);
    return true;
  }

  int i = 1;
  for (; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--") {
      ++i;
      break;
    }
    if (arg.size() < 2 || arg[0] != '-') break;
    if (arg == "--complete") {  // the words that follow are the line to complete
      out->complete = true;
      ++i;
      break;
    }
    if (arg == "-h" || arg == "--help") {
      out->help = true;
      continue;
    }
    struct Valued {
      const char* shortName;
      const char* longName;
      std::string* target;
    };
    const Valued valued[] = {{"-s", "--service", &out->service},
                             {"-n", "--namespace", &out->nameSpace},
                             {"-o", "--output", &out->output}};
    bool known = false;
    for (const Valued& v : valued) {
      const std::string longEq = std::string(v.longName) + "=";
      if (arg == v.shortName || arg == v.longName) {
        if (i + 1 >= argc) {
          *error = "option " + arg + " needs a value";
          return false;
        }
        *v.target = argv[++i];
      } else if (arg.compare(0, longEq.size(), longEq) == 0) {
        *v.target = arg.substr(longEq.size());
      } else {
        continue;
      }
      known = true;
      break;
    }
    if (!known) {
      *error = "unknown option '" + arg + "'";
      return false;
    }
  }
  out->words.assign(argv + i, argv + argc);
  if (out->service.empty()) {
    *error = "the service name must not be empty";
    return false;
  }
  return true;
}

std::string ShellOptions::usage() {
  static const struct {
    int status;
    const char* meaning;
  } kStatuses[] = {
      {kExitUsage, "bad option or command line (e.g. an unterminated quote); nothing sent"},
      {kExitNoHub, "the mailbox hub (pxmd) cannot be reached"},
      {kExitNoService, "the service's mailbox does not exist"},
      {kExitRefusedVersion, "the service refused the command: bad protocol version"},
      {kExitRefusedNotImplemented, "the service refused the command: command not implemented"},
      {kExitServiceGone, "the service (or the hub) went away in the middle of the command"},
      {kExitOutputFailed, "the output could not be written"},
      {kExitInterrupted, "interrupted twice; the shell stopped waiting for the command"},
      {kExitProtocolError, "the service refused the command for an unknown reason"},
      {kExitNotAllowed, "not allowed to reach the mailbox hub (not a member of its group)"},
      {kExitHubFull, "the mailbox hub refused: too many connections (of the user, or in all)"},
  };
  std::string text =
      "Usage: kvnsh [OPTIONS] [COMMAND [ARGUMENTS...]]\n"
      "       zoth|zorf|zomlek [ARGUMENTS...]\n"
      "\n"
      "The operators' shell of kvn-tracecontroller. With a command, runs it and exits with\n"
      "its result; without one, reads command lines at a prompt (line editing, history in\n"
      "~/.kvnsh_history), one command per line, split into words as a POSIX shell does.\n"
      "Called as zoth, zorf or zomlek, every argument belongs to that command.\n"
      "Prompt commands besides the service's: help, exit [STATUS], quit.\n"
      "\n"
      "Options:\n"
      "  -s, --service NAME    mailbox name of the service (default kvn-tracecontroller;\n"
      "                        environment KVNSH_SERVICE)\n"
      "  -n, --namespace NS    mailbox namespace (environment KVNSH_NAMESPACE)\n"
      "  -o, --output FILE     write binary output (stream 1, and the whole of a recorder\n"
      "                        dump) to FILE instead of standard output, where stream 1 is\n"
      "                        base64 and a raw dump is refused on a terminal; FILE is\n"
      "                        replaced only when the command succeeds, else the data is\n"
      "                        kept in FILE.partial (environment KVNSH_OUTPUT)\n"
      "  --complete WORDS...   print the candidates for the last of WORDS, one a line (the\n"
      "                        bash completion's and the prompt's Tab)\n"
      "  -h, --help            show this text\n"
      "\n"
      "Ctrl-C during a command aborts it and waits for its end; a second Ctrl-C stops waiting.\n"
      "\n"
      "Exit status: the command's result (0 to 255; commands use 0 success, 1 failure,\n"
      "2 no such subcommand), or one of the shell's own:\n";
  for (const auto& s : kStatuses) text += "  " + std::to_string(s.status) + "  " + s.meaning + "\n";
  return text;
}

}  // namespace kvnsh
