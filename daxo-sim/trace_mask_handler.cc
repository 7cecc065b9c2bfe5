#include "daxo-sim/trace_mask_handler.h"

#include <stdexcept>
#include <string>

#include <nlohmann/json.hpp>

#include "base/big_endian.h"

namespace kvn::daxosim {

namespace {

constexpr uint16_t kSetMaskReq = 0, kSetMaskCfm = 1, kInjectUreq = 2;
constexpr size_t kEntrySize = 6;

}  // namespace

void TraceMaskHandler::handle(const Request& request, const ReplyPath& reply,
                              nlohmann::json& entry) {
  if (request.submsgno == kInjectUreq) {
    // An injected trace text: decoded for the journal, nothing to answer.
    entry["answered"] = false;
    if (request.bodySize < 2) throw std::runtime_error("injected text without a word count");
    const size_t bytes = 2 * size_t{loadBe16(request.body)};
    if (request.bodySize < 2 + bytes)
      throw std::runtime_error("injected text of " + std::to_string(bytes) + " bytes is too short");
    std::string text(reinterpret_cast<const char*>(request.body + 2), bytes);
    if (!text.empty() && text.back() == '\0') text.pop_back();  // the padding of an odd text
    entry["text"] = text;
    if (onText_) entry["traced"] = onText_(text);
    return;
  }
  if (request.submsgno != kSetMaskReq) {
    entry["answered"] = false;
    return;
  }
  if (request.bodySize < 2) throw std::runtime_error("set mask request without a count");
  const uint16_t count = loadBe16(request.body);
  if (request.bodySize < 2 + kEntrySize * count)
    throw std::runtime_error("set mask request of " + std::to_string(count) +
                             " entries is too short");
  nlohmann::json masks = nlohmann::json::array();
  for (uint16_t i = 0; i < count; ++i) {
    const uint8_t* e = request.body + 2 + kEntrySize * i;
    const uint16_t strId = loadBe16(e);
    const uint32_t mask = loadBe32(e + 2);
    masks_[strId] = mask;
    masks.push_back({{"strId", strId}, {"mask", mask}});
  }
  entry["masks"] = masks;
  nlohmann::json state = nlohmann::json::object();
  for (const auto& [strId, mask] : masks_) state[std::to_string(strId)] = mask;
  entry["state"] = state;
  entry["confirm"] = confirms_.confirm(reply, kSetMaskCfm);
}

}  // namespace kvn::daxosim
