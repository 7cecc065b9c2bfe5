// kvnsh: the operators' shell. See `kvnsh --help`.

#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "kvnsh/completer.h"
#include "kvnsh/exit_status.h"
#include "kvnsh/interrupt_counter.h"
#include "kvnsh/prompt.h"
#include "kvnsh/pxm_mailbox.h"
#include "kvnsh/shell.h"
#include "kvnsh/shell_options.h"
#include "tracing/log.h"

namespace {

// --complete: prints the candidates, one a line. The shell's options among the words name the
// service to ask; without a hub or service only the command tree's words come.
int complete(const kvnsh::ShellOptions& options) {
  using namespace kvnsh;
  if (options.words.empty()) return 0;
  std::vector<const char*> argv = {"kvnsh"};
  for (size_t i = 0; i + 1 < options.words.size(); ++i) argv.push_back(options.words[i].c_str());
  ShellOptions typed;
  std::string error;
  if (!ShellOptions::parse(static_cast<int>(argv.size()), argv.data(), ::getenv, &typed, &error))
    typed = options;
  typed.output.clear();  // completion writes no file
  signal(SIGPIPE, SIG_IGN);
  PxmMailbox mailbox;
  const bool joined = mailbox.open(typed.nameSpace, "kvnsh-" + std::to_string(getpid()), &error);
  Shell shell(typed, mailbox);
  Completer completer = joined ? shell.completer() : Completer(nullptr);
  for (const std::string& c : completer.complete(options.words)) printf("%s\n", c.c_str());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace kvnsh;
  kvnCpmUtilTraceProcField = "kvnsh";

  ShellOptions options;
  std::string error;
  if (!ShellOptions::parse(argc, argv, ::getenv, &options, &error)) {
    fprintf(stderr, "kvnsh: %s\n%s", error.c_str(), ShellOptions::usage().c_str());
    return kExitUsage;
  }
  if (options.help) {
    fputs(ShellOptions::usage().c_str(), stdout);
    return 0;
  }

  if (options.complete) return complete(options);

  // A closed pipe on the output is a write error of its own, not a silent death.
  signal(SIGPIPE, SIG_IGN);
  InterruptCounter::install();

  PxmMailbox mailbox;
  if (!mailbox.open(options.nameSpace, "kvnsh-" + std::to_string(getpid()), &error)) {
    fprintf(stderr, "kvnsh: %s\n", error.c_str());
    return mailbox.failure();
  }
  Shell shell(options, mailbox);
  if (!options.words.empty()) return shell.runWords(options.words);

  const char* home = getenv("HOME");
  Prompt prompt("kvnsh", "kvnsh> ", home && *home ? std::string(home) + "/.kvnsh_history" : "");
  return shell.interactive(prompt);
}
