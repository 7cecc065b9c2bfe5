#pragma once
// The agent's trace destination routine (IMPLEMENTS 6): allocates, configures and frees
// destination ports and opens and closes sockets on them, answering with the values of the
// description. One step may be set to be rejected with a cause. The journal line carries what
// the request held and what was answered.

#include <stdint.h>

#include <functional>
#include <optional>
#include <string>

#include "daxo-sim/agent_description.h"
#include "daxo-sim/agent_handler.h"
#include "service/signals/daxo_connect_signals.h"

namespace kvn::daxosim {

class TraceDestHandler : public AgentHandler {
 public:
  static constexpr uint16_t kImplementsCode = kImplementsTraceDest;

  // A step to reject: "alloc", "config", "open", "close" or "free", and the cause.
  struct Rejection {
    std::string step;
    int16_t cause = 0;
  };
  // "STEP:CAUSE", as the command line gives it; throws std::invalid_argument otherwise.
  static Rejection parseRejection(const std::string& text);

  TraceDestHandler(const AgentDescription::TraceDest& values, std::optional<Rejection> reject)
      : values_(values), reject_(std::move(reject)) {}

  void handle(const Request& request, const ReplyPath& reply, nlohmann::json& entry) override;

  // Told of each socket opened (with the UDP session it was opened on) and closed.
  using OnSocket = std::function<void(uint16_t socketId, std::optional<uint32_t> sessionId)>;
  void setOnSocket(OnSocket fn) { onSocket_ = std::move(fn); }

 private:
  AgentDescription::TraceDest values_;
  std::optional<Rejection> reject_;
  OnSocket onSocket_;
};

}  // namespace kvn::daxosim
