#pragma once
// What the shell needs of the mailbox layer: find the service, send to it, receive, and watch
// its mailbox. An interface so that the protocol can be driven without a hub in unit tests.

#include <stddef.h>
#include <stdint.h>

#include <string>

namespace kvnsh {

using MailboxId = uint32_t;
using MonitorId = uint32_t;
inline constexpr MailboxId kNoMailbox = 0xFFFFFFFFu;
// The message a watched mailbox sends, in the name of the dead one, when it goes away.
inline constexpr uint32_t kMailboxGone = 0x1901001u;

class Mailbox {
 public:
  // A received message; valid until the next receive().
  struct Received {
    MailboxId sender = kNoMailbox;
    const uint8_t* data = nullptr;
    size_t size = 0;
  };

  virtual ~Mailbox() = default;

  // kNoMailbox when no mailbox has that name.
  virtual MailboxId locate(const std::string& name) = 0;
  // Sends `size` bytes that begin with the signal number. False when the message could not be
  // allocated.
  virtual bool send(MailboxId to, const uint8_t* data, size_t size) = 0;
  // Waits up to `timeoutMs`; false on time-out.
  virtual bool receive(uint32_t timeoutMs, Received* out) = 0;
  // When `mailbox` goes away, a kMailboxGone message arrives from it.
  virtual MonitorId monitor(MailboxId mailbox) = 0;
  virtual void unmonitor(MonitorId monitor) = 0;
};

}  // namespace kvnsh
