#include "daxo-sim/trace_dest_handler.h"

#include <stdexcept>
#include <vector>

#include <nlohmann/json.hpp>

#include "base/big_endian.h"

namespace kvn::daxosim {

namespace {

struct Step {
  uint16_t request;
  const char* name;
  size_t bodySize;  // what the request must hold
};
// Each request is answered by its confirm (request + 1) or its reject (request + 2).
constexpr Step kSteps[] = {
    {0, "alloc", 0}, {3, "free", 2}, {6, "config", 16}, {9, "open", 16}, {12, "close", 6}};

}  // namespace

TraceDestHandler::Rejection TraceDestHandler::parseRejection(const std::string& text) {
  const size_t colon = text.find(':');
  if (colon == std::string::npos) throw std::invalid_argument("expected STEP:CAUSE");
  Rejection r;
  r.step = text.substr(0, colon);
  bool known = false;
  for (const Step& s : kSteps) known = known || r.step == s.name;
  if (!known) throw std::invalid_argument("unknown step \"" + r.step + "\"");
  r.cause = static_cast<int16_t>(std::stoi(text.substr(colon + 1)));
  return r;
}

void TraceDestHandler::handle(const Request& request, const ReplyPath& reply,
                              nlohmann::json& entry) {
  const Step* step = nullptr;
  for (const Step& s : kSteps)
    if (s.request == request.submsgno) step = &s;
  if (!step) {
    entry["answered"] = false;
    return;
  }
  if (request.bodySize < step->bodySize)
    throw std::runtime_error(std::string(step->name) + " request is too short");
  const uint8_t* b = request.body;
  switch (step->request) {
    case 3:
      entry["portId"] = loadBe16(b);
      break;
    case 6:
      entry["portId"] = loadBe16(b);
      entry["innerVlan"] = loadBe16(b + 8);
      entry["maxKBytesPerSecond"] = loadBe32(b + 10);
      entry["outerVlan"] = loadBe16(b + 14);
      break;
    case 9:
      entry["portId"] = loadBe16(b);
      entry["count"] = loadBe16(b + 2);
      entry["type"] = loadBe16(b + 4);
      entry["tnEbcomId"] = loadBe32(b + 6);
      entry["tnPcep"] = loadBe32(b + 10);
      entry["tnQidx"] = loadBe16(b + 14);
      break;
    case 12:
      entry["portId"] = loadBe16(b);
      entry["socketId"] = loadBe16(b + 4);
      break;
    default:
      break;
  }
  std::vector<uint8_t> body;
  if (reject_ && reject_->step == step->name) {
    appendBe16(body, static_cast<uint16_t>(reject_->cause));
    reply.send(step->request + 2, body);
    entry["reject"] = reject_->cause;
    return;
  }
  if (step->request == 0) {
    appendBe16(body, values_.portId);
    appendBe16(body, values_.agentVlan);
    for (uint16_t w : values_.sourceMac) appendBe16(body, w);
    appendBe32(body, 0);
    appendBe32(body, values_.sourceInfoA);
    appendBe16(body, values_.sourceInfoB);
  } else if (step->request == 9) {
    appendBe16(body, 1);
    appendBe16(body, values_.socketId);
  }
  reply.send(step->request + 1, body);
  entry["confirm"] = "sent";
  if (onSocket_ && step->request == 9) onSocket_(values_.socketId, loadBe32(b + 6));
  if (onSocket_ && step->request == 12) onSocket_(loadBe16(b + 4), std::nullopt);
}

}  // namespace kvn::daxosim
