#include "kvnsh/command_runner.h"

#include <string.h>

#include "kvnsh/command_request.h"
#include "kvnsh/exit_status.h"
#include "kvnsh/wire_header.h"
#include "tracing/log.h"

namespace kvnsh {

CommandRunner::CommandRunner(Mailbox& mailbox, ChunkWriter& out,
                             std::function<unsigned()> interrupts,
                             std::function<void(const std::string&)> notify)
    : mailbox_(mailbox),
      out_(out),
      interrupts_(std::move(interrupts)),
      notify_(std::move(notify)) {}

void CommandRunner::sendAbort(MailboxId to, uint16_t lifeRoutine, uint16_t routine) {
  uint8_t msg[kAbortSize];
  WireHeader{lifeRoutine, routine, kAbortInd}.encode(msg);
  mailbox_.send(to, msg, sizeof msg);
}

void CommandRunner::sendConfirm(MailboxId to, uint16_t printRoutine, uint16_t routine,
                                uint16_t sequence) {
  uint8_t msg[kConfirmSize];
  WireHeader{printRoutine, routine, kPrintInd}.encode(msg);
  storeBe16(msg + 12, sequence);
  mailbox_.send(to, msg, sizeof msg);
}

void CommandRunner::settleStale(MailboxId from, const ServiceReply& reply) {
  // Release what the service still holds for the old command: its print routines wait for a
  // confirm, its life routine for an abort.
  if (reply.header.submsgno == kPrintInd)
    sendConfirm(from, reply.header.src, reply.header.dst, reply.sequence);
  else if (reply.header.submsgno == kCommandAccepted)
    sendAbort(from, reply.header.src, reply.header.dst);
}

int CommandRunner::finish(bool succeeded, int status) {
  std::string note;
  const bool ok = out_.finish(succeeded, &note);
  if (!note.empty()) notify_(note);
  if (!ok) {
    notify_(out_.error());
    return status == 0 ? kExitOutputFailed : status;
  }
  return status;
}

int CommandRunner::run(const std::string& serviceName, MailboxId service, uint16_t routine,
                       const std::vector<std::string>& words) {
  const std::vector<uint8_t> request = CommandRequest::encode(words, routine);
  const MonitorId watch = mailbox_.monitor(service);
  struct Unwatch {
    Mailbox& m;
    MonitorId id;
    ~Unwatch() { m.unmonitor(id); }
  } unwatch{mailbox_, watch};

  // Ctrl-Cs from here on belong to this command, even those during the send.
  unsigned seenInterrupts = interrupts_();
  if (!mailbox_.send(service, request.data(), request.size())) {
    notify_("cannot send the command: the hub gave no message buffer");
    return kExitNoHub;
  }

  bool accepted = false;
  uint16_t life = 0;
  MailboxId lifeMailbox = service;
  bool abortWanted = false;
  bool abortSent = false;
  bool outputBroken = false;
  auto abortIfReady = [&] {
    if (abortWanted && accepted && !abortSent) {
      sendAbort(lifeMailbox, life, routine);
      abortSent = true;
    }
  };

  unsigned quietPolls = 0;
  for (;;) {
    const unsigned nowInterrupts = interrupts_();
    if (nowInterrupts != seenInterrupts) {
      unsigned fresh = nowInterrupts - seenInterrupts;
      seenInterrupts = nowInterrupts;
      if (!abortWanted) {
        abortWanted = true;
        --fresh;
        notify_("interrupted: aborting the command (Ctrl-C again stops waiting for it)");
        abortIfReady();
      }
      if (fresh > 0) {
        notify_("stopped waiting for the command to end");
        return finish(false, kExitInterrupted);
      }
    }

    Mailbox::Received m;
    if (!mailbox_.receive(kPollMs, &m)) {
      if (++quietPolls % kQuietPollsPerCheck == 0 && mailbox_.locate(serviceName) != service) {
        notify_("lost the service in the middle of the command (the service or the hub went away)");
        return finish(false, kExitServiceGone);
      }
      continue;
    }
    uint32_t signal = 0;
    if (m.size >= sizeof signal) memcpy(&signal, m.data, sizeof signal);
    if (signal == kMailboxGone) {
      if (m.sender != service) continue;  // the watch of an earlier service
      notify_("the service went away in the middle of the command");
      return finish(false, kExitServiceGone);
    }
    ServiceReply reply;
    if (!ServiceReply::decode(m.data, m.size, &reply)) {
      CPMUTIL_LOG_DEBUG("kvnsh: ignored message 0x%x of %zu bytes", signal, m.size);
      continue;
    }
    if (reply.header.dst != routine) {
      settleStale(m.sender, reply);
      continue;
    }
    switch (reply.header.submsgno) {
      case kCommandAccepted:
        accepted = true;
        life = reply.header.src;
        lifeMailbox = m.sender;
        abortIfReady();
        break;
      case kCommandRefused:
        if (reply.reason == kRefusedBadVersion) {
          notify_("the service refused the command: bad protocol version (reason 1)");
          return finish(false, kExitRefusedVersion);
        }
        if (reply.reason == kRefusedNotImplemented) {
          notify_("the service refused the command: command not implemented (reason 2)");
          return finish(false, kExitRefusedNotImplemented);
        }
        notify_("the service refused the command (reason " + std::to_string(reply.reason) + ")");
        return finish(false, kExitProtocolError);
      case kCommandEnded:
        // The life routine stays until the front end closes the command.
        if (accepted && !abortSent) sendAbort(lifeMailbox, life, routine);
        if (outputBroken) return finish(false, kExitOutputFailed);
        return finish(reply.result == 0, reply.result);
      case kPrintInd:
        if (!outputBroken && !out_.write(reply.stream, reply.text, reply.length)) {
          outputBroken = true;
          notify_(out_.error() + "; aborting the command");
          abortWanted = true;
          abortIfReady();
        }
        // Confirm after writing: the confirm is the service's only pacing.
        sendConfirm(m.sender, reply.header.src, routine, reply.sequence);
        break;
      default:
        CPMUTIL_LOG_DEBUG("kvnsh: ignored submsgno %u from routine %u", reply.header.submsgno,
                          reply.header.src);
        break;
    }
  }
}

}  // namespace kvnsh
