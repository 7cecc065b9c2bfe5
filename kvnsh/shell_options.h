#pragma once
// The shell's command line. Called as kvnsh, options come first and the command words follow;
// called through a link named after a root command (zoth, zorf, zomlek), every argument is a
// word of that command, so `zoth -h` reaches the service. The environment gives the defaults.

#include <functional>
#include <string>
#include <vector>

namespace kvnsh {

struct ShellOptions {
  std::string service = "kvn-tracecontroller";
  std::string nameSpace;
  std::string output;  // where binary output goes; empty: base64 on standard output
  bool help = false;
  bool complete = false;           // --complete: `words` is a line to complete
  std::vector<std::string> words;  // the command; empty: the interactive prompt

  using Getenv = std::function<const char*(const char*)>;
  // False, with `error` set, on a bad option.
  static bool parse(int argc, const char* const* argv, const Getenv& getenv, ShellOptions* out,
                    std::string* error);
  // The root commands that links may be named after.
  static bool isRootCommand(const std::string& name);
  static std::string usage();
};

}  // namespace kvnsh
