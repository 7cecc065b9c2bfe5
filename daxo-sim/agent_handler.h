#pragma once
// The agent side of one signal family (trace masks, utrace, registers, ...): what a routine of
// the agent does with a request the service sent it. Handlers are registered in the
// HandlerRegistry under the IMPLEMENTS code of the routines that serve them.

#include <stddef.h>
#include <stdint.h>

#include <nlohmann/json_fwd.hpp>

#include "daxo-sim/reply_path.h"

namespace kvn::daxosim {

class AgentHandler {
 public:
  // A routine-addressed message as received: header in host order, body as on the wire.
  struct Request {
    uint32_t senderMailbox = 0;
    uint16_t dstRoutineId = 0;
    uint16_t srcRoutineId = 0;
    uint16_t submsgno = 0;
    uint16_t implementsCode = 65535;  // of the destination routine; 65535: none deployed
    const uint8_t* body = nullptr;
    size_t bodySize = 0;
  };

  virtual ~AgentHandler() = default;

  // Handles one request. `entry` is its journal line, which already holds the header fields,
  // the text name when known and the body in hex; a handler adds what it decoded.
  virtual void handle(const Request& request, const ReplyPath& reply, nlohmann::json& entry) = 0;
};

}  // namespace kvn::daxosim
