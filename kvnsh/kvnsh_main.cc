// kvnsh: the operators' shell. See `kvnsh --help`.

#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>

#include "kvnsh/exit_status.h"
#include "kvnsh/interrupt_counter.h"
#include "kvnsh/prompt.h"
#include "kvnsh/pxm_mailbox.h"
#include "kvnsh/shell.h"
#include "kvnsh/shell_options.h"
#include "tracing/log.h"

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
