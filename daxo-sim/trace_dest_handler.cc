#include "daxo-sim/trace_dest_handler.h"

#include <stdexcept>
#include <vector>

#include <nlohmann/json.hpp>

namespace kvn::daxosim {

namespace {

uint16_t be16(const uint8_t* p) { return static_cast<uint16_t>(p[0] << 8 | p[1]); }
uint32_t be32(const uint8_t* p) { return static_cast<uint32_t>(be16(p)) << 16 | be16(p + 2); }
void put16(std::vector<uint8_t>& b, uint16_t v) {
  b.push_back(static_cast<uint8_t>(v >> 8));
  b.push_back(static_cast<uint8_t>(v));
}
void put32(std::vector<uint8_t>& b, uint32_t v) {
  put16(b, static_cast<uint16_t>(v >> 16));
  put16(b, static_cast<uint16_t>(v));
}

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
      entry["portId"] = be16(b);
      break;
    case 6:
      entry["portId"] = be16(b);
      entry["innerVlan"] = be16(b + 8);
      entry["maxKBytesPerSecond"] = be32(b + 10);
      entry["outerVlan"] = be16(b + 14);
      break;
    case 9:
      entry["portId"] = be16(b);
      entry["count"] = be16(b + 2);
      entry["type"] = be16(b + 4);
      entry["tnEbcomId"] = be32(b + 6);
      entry["tnPcep"] = be32(b + 10);
      entry["tnQidx"] = be16(b + 14);
      break;
    case 12:
      entry["portId"] = be16(b);
      entry["socketId"] = be16(b + 4);
      break;
    default:
      break;
  }
  std::vector<uint8_t> body;
  if (reject_ && reject_->step == step->name) {
    put16(body, static_cast<uint16_t>(reject_->cause));
    reply.send(step->request + 2, body);
    entry["reject"] = reject_->cause;
    return;
  }
  if (step->request == 0) {
    put16(body, values_.portId);
    put16(body, values_.agentVlan);
    for (uint16_t w : values_.sourceMac) put16(body, w);
    put32(body, 0);
    put32(body, values_.sourceInfoA);
    put16(body, values_.sourceInfoB);
  } else if (step->request == 9) {
    put16(body, 1);
    put16(body, values_.socketId);
  }
  reply.send(step->request + 1, body);
  entry["confirm"] = "sent";
  if (onSocket_ && step->request == 9) onSocket_(values_.socketId, be32(b + 6));
  if (onSocket_ && step->request == 12) onSocket_(be16(b + 4), std::nullopt);
}

}  // namespace kvn::daxosim
