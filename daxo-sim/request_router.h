#pragma once
// Takes a routine-addressed message that reached the agent, writes its journal line and hands
// it to the handler of the destination routine, with the path for the answer.

#include <stddef.h>
#include <stdint.h>

#include "daxo-sim/handler_registry.h"
#include "daxo-sim/reply_path.h"
#include "sim/journal.h"

namespace kvn::daxosim {

class RequestRouter {
 public:
  RequestRouter(const HandlerRegistry& handlers, sim::Journal& journal,
                ReplyPath::Transport transport);

  // `message` is the whole message as received, header included.
  void route(uint32_t senderMailbox, const uint8_t* message, size_t size);

 private:
  const HandlerRegistry& handlers_;
  sim::Journal& journal_;
  ReplyPath::Transport transport_;
};

}  // namespace kvn::daxosim
