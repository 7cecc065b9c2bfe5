#pragma once
// The way back to whoever sent a request to one of the agent's routines: answers go to the
// sender's mailbox, addressed to the routine that sent the request, from the routine that got it.

#include <stdint.h>

#include <functional>
#include <vector>

namespace kvn::daxosim {

class ReplyPath {
 public:
  // Carries a whole message (header included) to a mailbox.
  using Transport = std::function<void(std::vector<uint8_t> message, uint32_t toMailbox)>;

  ReplyPath(Transport transport, uint32_t peerMailbox, uint16_t peerRoutine, uint16_t ownRoutine);

  // The same peer, but another of its routines: for what the agent sends unasked.
  ReplyPath toRoutine(uint16_t peerRoutine) const {
    return ReplyPath(transport_, peerMailbox_, peerRoutine, ownRoutine_);
  }

  // Sends `body` (already in network order) under sub-message number `submsgno`.
  void send(uint16_t submsgno, const std::vector<uint8_t>& body) const;

  uint32_t peerMailbox() const { return peerMailbox_; }
  uint16_t peerRoutine() const { return peerRoutine_; }
  uint16_t ownRoutine() const { return ownRoutine_; }

 private:
  Transport transport_;
  uint32_t peerMailbox_;
  uint16_t peerRoutine_;
  uint16_t ownRoutine_;
};

}  // namespace kvn::daxosim
