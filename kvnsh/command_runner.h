#pragma once
// Runs one command line against the service: sends the request, prints the text chunks as
// they arrive and confirms each to the routine that sent it, and, after the end, closes the
// command with an abort to its life routine. A Ctrl-C sends that abort early and waits for the
// end; a second one stops waiting. The service's mailbox is watched, so its death mid-command
// ends the wait.

#include <stdint.h>

#include <functional>
#include <string>
#include <vector>

#include "kvnsh/chunk_writer.h"
#include "kvnsh/mailbox.h"
#include "kvnsh/service_reply.h"

namespace kvnsh {

class CommandRunner {
 public:
  // How often the wait looks at the interrupt count.
  static constexpr uint32_t kPollMs = 100;
  // Quiet polls after which the wait asks the hub whether the service is still there: a hub
  // that goes away takes the watch with it.
  static constexpr unsigned kQuietPollsPerCheck = 10;

  // `interrupts` gives the number of Ctrl-Cs so far; `notify` takes a line for the operator's
  // error stream.
  CommandRunner(Mailbox& mailbox, ChunkWriter& out, std::function<unsigned()> interrupts,
                std::function<void(const std::string&)> notify);

  // The command's result, or one of the ExitStatus values. `routine` is the shell's routine
  // number for this command; each command should have its own, so that late messages of an
  // earlier one are told apart. The words must fit a request (CommandRequest::fits).
  int run(const std::string& serviceName, MailboxId service, uint16_t routine,
          const std::vector<std::string>& words);

 private:
  void sendAbort(MailboxId to, uint16_t lifeRoutine, uint16_t routine);
  void sendConfirm(MailboxId to, uint16_t printRoutine, uint16_t routine, uint16_t sequence);
  // Messages addressed to a routine of an earlier command that the shell stopped waiting for.
  void settleStale(MailboxId from, const ServiceReply& reply);
  int finish(bool succeeded, int status);

  Mailbox& mailbox_;
  ChunkWriter& out_;
  std::function<unsigned()> interrupts_;
  std::function<void(const std::string&)> notify_;
};

}  // namespace kvnsh
