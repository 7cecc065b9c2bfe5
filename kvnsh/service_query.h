#pragma once
// Runs a command against the service for the shell's own use (completion) and gives its text:
// quietly, and for a short time only. A service that is missing, refuses or does not end in
// time gives an empty text; the command is aborted as by Ctrl-C.

#include <stdint.h>

#include <functional>
#include <string>
#include <vector>

#include "kvnsh/mailbox.h"

namespace kvnsh {

class ServiceQuery {
 public:
  // `nextRoutine` gives the shell's routine number for each command.
  ServiceQuery(Mailbox& mailbox, std::string service, std::function<uint16_t()> nextRoutine,
               uint32_t timeoutMs);

  // The command's output when it ends with 0 in time; else empty.
  std::string operator()(const std::vector<std::string>& words);

 private:
  Mailbox& mailbox_;
  std::string service_;
  std::function<uint16_t()> nextRoutine_;
  uint32_t timeoutMs_;
};

}  // namespace kvnsh
