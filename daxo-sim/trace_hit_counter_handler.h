#pragma once
// The agent's trace hit counter (IMPLEMENTS 13), serving the table of its description: the
// info confirm gives the dropped counts and the number of rows, a data request gets the rows
// from its first index in pieces of `rowsPerConfirm` (at most what one confirm can count), and
// a clear empties the table. The journal line says what was answered.

#include <stdint.h>

#include "daxo-sim/agent_description.h"
#include "daxo-sim/agent_handler.h"
#include "service/signals/daxo_connect_signals.h"

namespace kvn::daxosim {

class TraceHitCounterHandler : public AgentHandler {
 public:
  static constexpr uint16_t kImplementsCode = kImplementsTraceHitCounter;

  explicit TraceHitCounterHandler(AgentDescription::HitCounterTable table)
      : table_(std::move(table)) {}

  void handle(const Request& request, const ReplyPath& reply, nlohmann::json& entry) override;

  const AgentDescription::HitCounterTable& table() const { return table_; }

 private:
  AgentDescription::HitCounterTable table_;
};

}  // namespace kvn::daxosim
