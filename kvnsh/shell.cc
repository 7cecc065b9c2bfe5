#include "kvnsh/shell.h"

#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include "kvnsh/chunk_writer.h"
#include "kvnsh/command_request.h"
#include "kvnsh/command_runner.h"
#include "kvnsh/dump_command.h"
#include "kvnsh/exit_status.h"
#include "kvnsh/interrupt_counter.h"
#include "kvnsh/prompt.h"
#include "kvnsh/service_query.h"
#include "kvnsh/word_splitter.h"

namespace kvnsh {
namespace {

void say(const std::string& text) { fprintf(stderr, "kvnsh: %s\n", text.c_str()); }

const char kPromptHelp[] =
    "Type a command line as you would to a shell, e.g. zoth info or zoth echo 'a b'.\n"
    "Commands: zoth and zomlek, with their usage at -h (zoth -h, zoth route -h, zomlek -h),\n"
    "and zorf log, with its usage at zorf log status -h. Tab completes commands, options,\n"
    "agents, profiles and destinations.\n"
    "Prompt commands: help, exit [STATUS], quit. Ctrl-C aborts a running command;\n"
    "Ctrl-D at an empty prompt leaves.\n";

// `zorf -h` and `zorf log -h` are refused by the service (zorf log reads its first word
// before any option); a new operator is told where the usage is.
void hintUsage(const std::vector<std::string>& words) {
  bool help = false;
  for (const std::string& w : words) help = help || w == "-h" || w == "--help";
  if (help && words[0] == "zorf") say("the usage of zorf log comes with: zorf log status -h");
}

}  // namespace

Shell::Shell(const ShellOptions& options, Mailbox& mailbox) : options_(options), mailbox_(mailbox) {
  if (!options_.output.empty()) binary_ = std::make_unique<OutputFile>(options_.output);
}

uint16_t Shell::nextRoutine() {
  // Each command gets a routine number of its own, so that late messages of a command the
  // shell gave up on are not taken for those of the next.
  routine_ = static_cast<uint16_t>(routine_ % 65534 + 1);
  return routine_;
}

int Shell::runWords(const std::vector<std::string>& words) {
  std::string error;
  if (!CommandRequest::fits(words, &error)) {
    say(error + "; nothing sent");
    return kExitUsage;
  }
  const bool dump = DumpCommand::is(words);
  if (dump && !binary_ && !DumpCommand::base64(words) && isatty(STDOUT_FILENO)) {
    say("a dump is binary and is not written to a terminal; use --output FILE or --base64");
    return kExitUsage;
  }
  const MailboxId service = mailbox_.locate(options_.service);
  if (service == kNoMailbox) {
    say("no service \"" + options_.service + "\" on the mailbox hub; is it running?");
    return kExitNoService;
  }
  fflush(stdout);
  ChunkWriter out(STDOUT_FILENO, binary_.get());
  std::unique_ptr<DumpProgress> progress;
  if (dump) {
    if (isatty(STDERR_FILENO)) progress = std::make_unique<DumpProgress>(STDERR_FILENO);
    out.setDump(progress.get());
  }
  CommandRunner runner(mailbox_, out, &InterruptCounter::count, say);
  const int status = runner.run(options_.service, service, nextRoutine(), words);
  if (status == kExitRefusedNotImplemented) hintUsage(words);
  return status;
}

int Shell::runLine(const std::string& line, bool* quit) {
  const WordSplitter::Result split = WordSplitter::split(line);
  if (!split.ok) {
    say(split.error + "; nothing sent");
    return kExitUsage;
  }
  const std::vector<std::string>& words = split.words;
  if (words.empty()) return -1;
  if (words[0] == "quit" || words[0] == "exit") {
    *quit = true;
    if (words.size() > 1) {
      char* end = nullptr;
      const long status = strtol(words[1].c_str(), &end, 10);
      if (*end != '\0' || status < 0 || status > 255) {
        say("exit takes a status from 0 to 255");
        *quit = false;
        return kExitUsage;
      }
      return static_cast<int>(status);
    }
    return -1;
  }
  if (words[0] == "help" && words.size() == 1) {
    fputs(kPromptHelp, stdout);
    fflush(stdout);
    return 0;
  }
  return runWords(words);
}

Completer Shell::completer() {
  // Short enough for a Tab; a service that answers slower gives no names.
  constexpr uint32_t kQueryTimeoutMs = 300;
  return Completer(ServiceQuery(
      mailbox_, options_.service, [this] { return nextRoutine(); }, kQueryTimeoutMs));
}

int Shell::interactive(Prompt& prompt) {
  prompt.setCompletion([this](const std::string& line, std::string* partial) {
    Completer::LineCompletion c = completer().completeLine(line);
    *partial = c.partial;
    return c.candidates;
  });
  int last = 0;
  std::string line;
  for (;;) {
    const Prompt::Read r = prompt.read(&line);
    if (r == Prompt::Read::kEnd) {
      if (prompt.interactive()) fputc('\n', stdout);  // leave the terminal on a fresh line
      break;
    }
    if (r == Prompt::Read::kInterrupted) continue;
    if (line.find_first_not_of(" \t") == std::string::npos) continue;
    prompt.remember(line);
    bool quit = false;
    const int status = runLine(line, &quit);
    if (status >= 0) last = status;
    if (quit) break;
  }
  return last;
}

}  // namespace kvnsh
