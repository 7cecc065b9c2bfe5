#include "daxo-sim/utrace_config_handler.h"

#include <stdexcept>
#include <string>

#include <nlohmann/json.hpp>

#include "base/big_endian.h"

namespace kvn::daxosim {

namespace {

constexpr uint16_t kSetConfigReq = 0, kSetConfigCfm = 1;
constexpr size_t kEntrySize = 4;

}  // namespace

void UtraceConfigHandler::handle(const Request& request, const ReplyPath& reply,
                                 nlohmann::json& entry) {
  if (request.submsgno != kSetConfigReq) {
    entry["answered"] = false;
    return;
  }
  if (request.bodySize < 2) throw std::runtime_error("utrace config request without a count");
  const uint16_t count = loadBe16(request.body);
  if (request.bodySize < 2 + kEntrySize * count)
    throw std::runtime_error("utrace config request of " + std::to_string(count) +
                             " entries is too short");
  nlohmann::json points = nlohmann::json::array();
  for (uint16_t i = 0; i < count; ++i) {
    const uint8_t* e = request.body + 2 + kEntrySize * i;
    const uint16_t id = loadBe16(e);
    const bool differs = (loadBe16(e + 2) & 1) != 0;
    differs_[id] = differs;
    points.push_back({{"id", id}, {"differs", differs}});
  }
  entry["points"] = points;
  nlohmann::json state = nlohmann::json::object();
  for (const auto& [id, differs] : differs_) state[std::to_string(id)] = differs;
  entry["state"] = state;
  entry["confirm"] = confirms_.confirm(reply, kSetConfigCfm);
}

}  // namespace kvn::daxosim
