#include "service/measurements/hw_config_set_cmd_session.h"

#include <utility>

#include "service/agents/daxo_trace_model.h"
#include "tracing/log.h"

namespace kvn {

HwConfigSetCmdSession::HwConfigSetCmdSession(std::vector<uint16_t> daxos, uint32_t value,
                                             uint16_t registerId)
    : AgentFanOutCmdSession(std::move(daxos)), value(value), registerId(registerId) {}

void HwConfigSetCmdSession::start() {
  for (uint16_t n : daxos) {
    TC_LOG_INFO("Setting register on daxo, registerId: %d, value: 0x%x", registerId, value);
    const auto& proxy = DaxoTraceModel::get(n).rttManager.proxy;
    auto* req = proxy->make<KvnRttSetRegisterReqS>();
    req->registerId = registerId;
    req->value = value;
    ask<KvnRttSetRegisterCfmS>(n, *proxy, req, [this, n](const KvnRttSetRegisterCfmS&, size_t) {
      DaxoTraceModel::get(n).rttManager.registers[registerId] = value;
      text << "Register set on daxo " << n << "\n";
    });
  }
}

void HwConfigSetCmdSession::onLost(uint16_t daxo) {
  text << "Fail: Register not set on daxo " << daxo << "\n";
}

}  // namespace kvn
