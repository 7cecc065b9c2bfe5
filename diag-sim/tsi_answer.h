#pragma once
// How the simulated TSI proxy answers a UDP session request: a confirm with the session's
// transport parameters, or a reject with a reason. Read from a JSON object:
//
//   {"sessionId": 1, "pcep": 2, "qidx": 3, "mac": "02:00:00:00:00:01",
//    "innerVlan": 0, "outerVlan": 100}          or          {"reject": "no capacity"}

#include <stdint.h>

#include <array>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace kvn::diagsim {

class TsiAnswer {
 public:
  class Error : public std::runtime_error {
   public:
    using std::runtime_error::runtime_error;
  };

  static TsiAnswer fromJson(const nlohmann::json& j);
  static std::array<uint8_t, 6> parseMac(const std::string& text);

  // The body (after the 12-byte header) of the confirm or of the reject.
  std::vector<uint8_t> confirmBody() const;
  std::vector<uint8_t> rejectBody() const;

  uint32_t sessionId = 1;
  uint32_t pcep = 1;
  uint16_t qidx = 0;
  std::array<uint8_t, 6> mac = {0x02, 0, 0, 0, 0, 1};
  uint32_t innerVlan = 0;
  uint32_t outerVlan = 0;
  std::optional<std::string> reject;  // set: answer with a reject of this reason
};

}  // namespace kvn::diagsim
