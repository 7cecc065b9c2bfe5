#include "diag-sim/tsi_answer.h"

#include <nlohmann/json.hpp>

#include "base/big_endian.h"

namespace kvn::diagsim {

namespace {

uint32_t number(const nlohmann::json& j, const char* key, uint32_t max) {
  const nlohmann::json& v = j.at(key);
  if (!v.is_number_unsigned() || v.get<uint64_t>() > max)
    throw TsiAnswer::Error(std::string(key) + ": expected a number up to " + std::to_string(max));
  return v.get<uint32_t>();
}

}  // namespace

std::array<uint8_t, 6> TsiAnswer::parseMac(const std::string& text) {
  std::string digits;
  for (char c : text)
    if (c != ':') digits += c;
  if (digits.size() != 12 ||
      digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
    throw Error("mac: expected six hexadecimal bytes, not \"" + text + "\"");
  std::array<uint8_t, 6> mac;
  for (size_t i = 0; i < 6; ++i)
    mac[i] = static_cast<uint8_t>(std::stoul(digits.substr(2 * i, 2), nullptr, 16));
  return mac;
}

TsiAnswer TsiAnswer::fromJson(const nlohmann::json& j) {
  if (!j.is_object()) throw Error("expected a JSON object");
  TsiAnswer a;
  for (const auto& item : j.items()) {
    const std::string& k = item.key();
    if (k == "sessionId")
      a.sessionId = number(j, "sessionId", 0xFFFFFFFFu);
    else if (k == "pcep")
      a.pcep = number(j, "pcep", 0xFFFFFFFFu);
    else if (k == "qidx")
      a.qidx = static_cast<uint16_t>(number(j, "qidx", 0xFFFF));
    else if (k == "innerVlan")
      a.innerVlan = number(j, "innerVlan", 0xFFFFFFFFu);
    else if (k == "outerVlan")
      a.outerVlan = number(j, "outerVlan", 0xFFFFFFFFu);
    else if (k == "mac" && item.value().is_string())
      a.mac = parseMac(item.value());
    else if (k == "reject" && item.value().is_string())
      a.reject = item.value().get<std::string>();
    else
      throw Error("unknown or malformed field \"" + k + "\"");
  }
  return a;
}

std::vector<uint8_t> TsiAnswer::confirmBody() const {
  std::vector<uint8_t> b;
  appendBe32(b, sessionId);
  appendBe32(b, pcep);
  appendBe16(b, qidx);
  b.insert(b.end(), mac.begin(), mac.end());
  appendBe32(b, innerVlan);
  appendBe32(b, outerVlan);
  return b;
}

std::vector<uint8_t> TsiAnswer::rejectBody() const {
  const std::string reason = reject.value_or("");
  std::vector<uint8_t> b;
  appendBe16(b, static_cast<uint16_t>(reason.size()));
  b.insert(b.end(), reason.begin(), reason.end());
  return b;
}

}  // namespace kvn::diagsim
