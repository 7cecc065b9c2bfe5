#include "daxo-sim/request_router.h"

#include <exception>

#include <nlohmann/json.hpp>

#include "base/big_endian.h"
#include "daxo-sim/connect_message.h"
#include "daxo-sim/signal_catalog.h"

namespace kvn::daxosim {

RequestRouter::RequestRouter(const HandlerRegistry& handlers, sim::Journal& journal,
                             ReplyPath::Transport transport)
    : handlers_(handlers), journal_(journal), transport_(std::move(transport)) {}

void RequestRouter::route(uint32_t senderMailbox, const uint8_t* message, size_t size) {
  nlohmann::json entry;
  entry["from"] = senderMailbox;
  entry["size"] = size;
  if (size < ConnectMessage::kHeaderSize) {
    // Too short for a header: nothing to route it by, but it is still worth seeing.
    entry["error"] = "shorter than the message header";
    entry["body"] = sim::Journal::hex(message, size);
    journal_.write(entry);
    return;
  }
  AgentHandler::Request req;
  req.senderMailbox = senderMailbox;
  req.dstRoutineId = loadBe16(message + 4);
  req.srcRoutineId = loadBe16(message + 6);
  req.submsgno = loadBe16(message + 8);
  req.implementsCode = handlers_.codeOf(req.dstRoutineId);
  req.body = message + ConnectMessage::kHeaderSize;
  req.bodySize = size - ConnectMessage::kHeaderSize;

  entry["dst"] = req.dstRoutineId;
  entry["src"] = req.srcRoutineId;
  entry["submsgno"] = req.submsgno;
  entry["implements"] = req.implementsCode;
  if (const char* name = SignalCatalog::requestName(req.implementsCode, req.submsgno))
    entry["name"] = name;
  entry["body"] = sim::Journal::hex(req.body, req.bodySize);

  ReplyPath reply(transport_, senderMailbox, req.srcRoutineId, req.dstRoutineId);
  try {
    handlers_.handlerFor(req.dstRoutineId).handle(req, reply, entry);
  } catch (const std::exception& e) {
    // A handler that cannot make sense of a body must not take the agent down.
    entry["error"] = e.what();
  }
  journal_.write(entry);
}

}  // namespace kvn::daxosim
