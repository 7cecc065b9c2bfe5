#include "service/measurements/hw_config_set_cmd_session.h"

#include <functional>
#include <utility>

#include "service/agents/daxo_trace_model.h"
#include "tracing/log.h"

namespace kvn {

HwConfigSetCmdSession::HwConfigSetCmdSession(std::vector<uint16_t> daxos, uint32_t value,
                                             uint16_t registerId)
    : daxos(std::move(daxos)), value(value), registerId(registerId) {
  for (uint16_t n : this->daxos) {
    const kvntrace::EventId event = DaxoTraceModel::getDaxoLostEvent(n);
    lostEvents[event] = n;
    subscribeEvent(event);
  }
}

void HwConfigSetCmdSession::start() {
  for (uint16_t n : daxos) {
    TC_LOG_INFO("Setting register on daxo, registerId: %d, value: 0x%x", registerId, value);
    const auto& proxy = DaxoTraceModel::get(n).rttManager.proxy;
    auto* req = proxy->make<KvnRttSetRegisterReqS>();
    req->registerId = registerId;
    req->value = value;
    std::function<void(KvnRttSetRegisterCfmS*&, size_t)> onCfm = [this, n](KvnRttSetRegisterCfmS*&,
                                                                           size_t) { onSet(n); };
    awaited.insert(n);
    ++pending;
    proxy->send(req, getKillableCallback(std::move(onCfm)));
  }
}

void HwConfigSetCmdSession::onSet(uint16_t agent) {
  if (awaited.erase(agent) == 0) return;
  --pending;
  DaxoTraceModel::get(agent).rttManager.registers[registerId] = value;
  text << "Register set on daxo " << agent << "\n";
  endCheck();
}

void HwConfigSetCmdSession::handleEvent(kvntrace::EventId event) {
  auto it = lostEvents.find(event);
  if (it == lostEvents.end() || awaited.erase(it->second) == 0) return;
  lost = true;
  --pending;
  text << "Fail: Register not set on daxo " << it->second << "\n";
  endCheck();
}

void HwConfigSetCmdSession::endCheck() {
  if (pending > 0) return;
  print(text.str());
  end(lost ? 1 : 0);
}

}  // namespace kvn
