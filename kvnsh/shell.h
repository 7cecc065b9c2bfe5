#pragma once
// The shell itself: joins the hub, finds the service for each command, and runs one command or
// the prompt's lines through a CommandRunner. Lines are split into words here; the prompt also
// knows help, exit and quit.

#include <stdint.h>

#include <memory>
#include <string>
#include <vector>

#include "kvnsh/completer.h"
#include "kvnsh/mailbox.h"
#include "kvnsh/output_file.h"
#include "kvnsh/shell_options.h"

namespace kvnsh {

class Prompt;

class Shell {
 public:
  // `mailbox` must be open.
  Shell(const ShellOptions& options, Mailbox& mailbox);

  // Runs one command given as words; returns the exit status.
  int runWords(const std::vector<std::string>& words);
  // Reads lines until the end of input or exit; returns the status of the last command.
  int interactive(Prompt& prompt);
  // A completer that asks this shell's service, briefly, for the names only it knows.
  Completer completer();

 private:
  // Runs one typed line. Sets `quit` for exit and quit.
  int runLine(const std::string& line, bool* quit);
  uint16_t nextRoutine();

  const ShellOptions& options_;
  Mailbox& mailbox_;
  std::unique_ptr<OutputFile> binary_;
  uint16_t routine_ = 0;
};

}  // namespace kvnsh
