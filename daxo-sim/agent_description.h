#pragma once
// What one simulated agent says of itself when it connects: the fields of its connect message
// and the attributes of the routines deployed on it, read from a JSON description.

#include <stdint.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "daxo-sim/measurement_figures.h"

namespace kvn::daxosim {

class AgentDescription {
 public:
  // A description that cannot be used, with a text that names the offending field.
  class Error : public std::runtime_error {
   public:
    using std::runtime_error::runtime_error;
  };

  // The two generations of connect message.
  enum class ConnectForm { kInitial, kVersion };

  // One fact about one routine of the agent, as it goes on the wire.
  struct Attribute {
    uint16_t routineId = 0;
    uint16_t propertyType = 0;
    uint16_t value[3] = {0, 0, 0};
    bool operator==(const Attribute& o) const;
  };

  // Field sizes of the connect message, terminating zero included.
  static constexpr size_t kNameSize = 20;
  static constexpr size_t kLmcPathSize = 256;

  // Reads a description. Relative container paths are taken from `baseDir` when it is given.
  static AgentDescription fromJson(const nlohmann::json& j, const std::string& baseDir = "");
  // Reads a description file; relative container paths are taken from the file's directory.
  static AgentDescription fromFile(const std::string& path);

  // The IMPLEMENTS code of a routine (the last one wins), if the attributes give one.
  std::optional<uint16_t> implementsCodeOf(uint16_t routineId) const;

  ConnectForm form = ConnectForm::kVersion;
  uint32_t version = 2;
  uint16_t roleIndex = 65535;
  std::string instanceName;
  std::string loadModuleName;
  std::string lmcPath;
  uint16_t domainDaxoIndex = 0;
  uint16_t bbmHwNumber = 0;
  std::vector<Attribute> attributes;
  // The attribute count written into the message when it should differ from the attributes
  // carried, so that a short message can be sent on purpose.
  std::optional<uint16_t> attributeCount;
  // The agent's own mailbox name; empty means one derived from the number.
  std::string mailboxName;
  // What the measurement function reports.
  MeasurementFigures measurements;
};

}  // namespace kvn::daxosim
