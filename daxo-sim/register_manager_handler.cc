#include "daxo-sim/register_manager_handler.h"

#include <stdexcept>
#include <string>

#include <nlohmann/json.hpp>

#include "base/big_endian.h"

namespace kvn::daxosim {

namespace {
constexpr uint16_t kSetRegisterReq = 0, kSetRegisterCfm = 1;
}

void RegisterManagerHandler::handle(const Request& request, const ReplyPath& reply,
                                    nlohmann::json& entry) {
  if (request.submsgno != kSetRegisterReq) {
    entry["answered"] = false;
    return;
  }
  if (request.bodySize < 6) throw std::runtime_error("set register request is too short");
  const uint8_t* b = request.body;
  const uint16_t id = loadBe16(b);
  const uint32_t value = loadBe32(b + 2);
  registers_[id] = value;
  entry["registerId"] = id;
  entry["value"] = value;
  nlohmann::json state = nlohmann::json::object();
  for (const auto& [r, v] : registers_) state[std::to_string(r)] = v;
  entry["registers"] = state;
  reply.send(kSetRegisterCfm, {});
}

}  // namespace kvn::daxosim
