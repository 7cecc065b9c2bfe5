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
#include "daxo-sim/super_trace_settings.h"

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

  // What the trace destination routine (IMPLEMENTS 6) answers: its port allocation confirm and
  // the socket it opens. "traceDest" in the description.
  struct TraceDest {
    uint16_t portId = 1;
    uint16_t agentVlan = 0;
    uint16_t sourceMac[3] = {0x0200, 0, 1};
    uint32_t sourceInfoA = 0;
    uint16_t sourceInfoB = 0;
    uint16_t socketId = 1;
  };

  // One row of the trace hit counter table; the times are ms since the last reset.
  struct HitCounterRow {
    uint16_t strid = 0;
    uint16_t traceGroup = 0;
    uint32_t args[3] = {0, 0, 0};
    uint32_t counter = 0;
    uint32_t firstHit = 0;
    uint32_t lastHit = 0;
  };
  // The trace hit counter table the agent starts with, and how many rows go in one confirm.
  struct HitCounterTable {
    std::vector<HitCounterRow> rows;
    uint32_t droppedHits = 0;
    uint32_t droppedStrids = 0;
    uint16_t rowsPerConfirm = 16;
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
  // How its simulated SuperTrace buffer behaves.
  SuperTraceSettings superTrace;
  TraceDest traceDest;
  HitCounterTable traceHitCounter;
  // What the measurement function reports.
  MeasurementFigures measurements;
};

}  // namespace kvn::daxosim
