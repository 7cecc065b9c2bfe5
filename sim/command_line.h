#pragma once
// A simulator's command line: the options every simulator takes (the service's mailbox, its own,
// the namespace, the journal, --help) and its own, read in one pass; and the start-up that both
// simulators share around it.

#include <popt.h>
#include <stdint.h>
#include <stdio.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "sim/journal.h"

namespace kvn::sim {

class CommandLine {
 public:
  // `program` prefixes every complaint; `usage` prints the whole help text to the stream given.
  CommandLine(const char* program, void (*usage)(FILE*)) : program_(program), usage_(usage) {}

  // Takes one of the simulator's own options: its `val` and its argument (null for a flag).
  // Throws std::exception with the words to print when the argument is not acceptable.
  using OwnOption = std::function<void(int val, const char* arg)>;

  // Reads argv against the common options and `own` (a table ending in POPT_TABLEEND whose
  // entries carry a `val` above 0 and no `arg`). Gives -1 to go on, else the status to exit
  // with: 0 after --help, 2 for a bad command line, after saying why on standard error.
  int read(int argc, char** argv, const poptOption* own, const OwnOption& onOwn);

  // The journal: the file --journal named, else standard output.
  std::unique_ptr<Journal> openJournal() const;

  // `text` as a number (decimal, or hex after 0x) of at most `max`; throws otherwise.
  static uint32_t number(const char* text, uint32_t max);
  // Points SIGTERM and SIGINT (and SIGUSR1 when `onUsr1` is given) at the handlers.
  static void catchSignals(void (*onStop)(int), void (*onUsr1)(int) = nullptr);

  std::string service = "kvn-tracecontroller";
  std::string mailbox;  // empty: the simulator's default
  std::string nameSpace;
  std::string journal;  // empty: standard output
  std::vector<std::string> operands;

 private:
  const char* program_;
  void (*usage_)(FILE*);
};

}  // namespace kvn::sim
