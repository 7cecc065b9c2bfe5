#pragma once
// The agent's measurement function (IMPLEMENTS 11): DSP load and CM pool usage from the
// description's figures. A DSP load measurement runs for the time it was started with, on its
// own timer; when it has run its time the agent tells the service's routine 4 (sub-message 6),
// unless it was stopped first. Each request is confirmed at once.

#include <stdint.h>

#include <chrono>
#include <optional>

#include "daxo-sim/agent_handler.h"
#include "daxo-sim/measurement_figures.h"
#include "service/signals/daxo_connect_signals.h"
#include "sim/journal.h"

namespace kvn::daxosim {

class MeasurementsHandler : public AgentHandler {
 public:
  static constexpr uint16_t kImplementsCode = kImplementsMeasurements;
  static constexpr uint16_t kServiceDspLoadRoutine = 4;
  static constexpr uint16_t kMeasurementEnded = 6;

  MeasurementsHandler(const MeasurementFigures& figures, sim::Journal& journal);

  void handle(const Request& request, const ReplyPath& reply, nlohmann::json& entry) override;

  // Ends the running measurement if its time has come.
  void sendDue();
  // How long until the running measurement ends; 0 when it is due, -1 when none runs.
  long msUntilNext() const;

 private:
  using Clock = std::chrono::steady_clock;
  struct Running {
    Clock::time_point started;
    Clock::time_point due;
    ReplyPath controller;  // routine 4 of the service that started it
  };

  const MeasurementFigures& figures_;
  sim::Journal& journal_;
  std::optional<Running> running_;
  uint32_t lastMeasuredUs_ = 0;
};

}  // namespace kvn::daxosim
