#pragma once
// The agent's unique trace manager (IMPLEMENTS 15): keeps for each utrace point whether it
// differs from its default, takes every "KVN_UTRACE_SET_CONFIG_REQ" entry and confirms. The
// journal line carries the entries and the whole table afterwards.

#include <stdint.h>

#include <map>

#include "daxo-sim/agent_handler.h"
#include "daxo-sim/confirm_sender.h"
#include "service/signals/daxo_connect_signals.h"

namespace kvn::daxosim {

class UtraceConfigHandler : public AgentHandler {
 public:
  static constexpr uint16_t kImplementsCode = kImplementsUniqueTraceManager;

  explicit UtraceConfigHandler(ConfirmSender& confirms) : confirms_(confirms) {}

  void handle(const Request& request, const ReplyPath& reply, nlohmann::json& entry) override;

  const std::map<uint16_t, bool>& differs() const { return differs_; }

 private:
  ConfirmSender& confirms_;
  std::map<uint16_t, bool> differs_;  // by point id
};

}  // namespace kvn::daxosim
