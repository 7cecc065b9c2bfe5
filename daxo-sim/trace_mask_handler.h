#pragma once
// The agent's trace object manager (IMPLEMENTS 14): keeps a group mask for each trace object it
// was told of, replaces it with every "KVN_TRACEOBJECT_SETMASK_REQ" entry and confirms. The
// journal line carries the entries and the whole table afterwards. An injected trace text is
// journalled with the text decoded, and handed on to be written into the trace.

#include <stdint.h>

#include <functional>
#include <map>
#include <string>

#include "daxo-sim/agent_handler.h"
#include "daxo-sim/confirm_sender.h"
#include "service/signals/daxo_connect_signals.h"

namespace kvn::daxosim {

class TraceMaskHandler : public AgentHandler {
 public:
  static constexpr uint16_t kImplementsCode = kImplementsTraceObjectManager;

  explicit TraceMaskHandler(ConfirmSender& confirms) : confirms_(confirms) {}

  void handle(const Request& request, const ReplyPath& reply, nlohmann::json& entry) override;

  const std::map<uint16_t, uint32_t>& masks() const { return masks_; }
  // Called with each injected text; gives whether it went into the trace.
  void setOnText(std::function<bool(const std::string&)> onText) { onText_ = std::move(onText); }

 private:
  ConfirmSender& confirms_;
  std::map<uint16_t, uint32_t> masks_;  // by strId
  std::function<bool(const std::string&)> onText_;
};

}  // namespace kvn::daxosim
