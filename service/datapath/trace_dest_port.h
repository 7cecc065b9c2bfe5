#pragma once
// One destination port on an agent, from its allocation to its release: the requests that
// allocate, configure and free it, and what the agent said of it.

#include <stdint.h>

#include <functional>
#include <memory>

#include "service/datapath/tn_parameters.h"
#include "service/signals/signal_proxies.h"

namespace kvn {

class TraceDestPort : public std::enable_shared_from_this<TraceDestPort> {
 public:
  using OnOk = std::function<void()>;
  using OnFail = std::function<void()>;

  // An empty proxy (the agent has no trace destination function) fails every request.
  TraceDestPort(uint16_t daxoId, std::shared_ptr<TraceDestProxy> proxy);
  virtual ~TraceDestPort() = default;

  virtual void alloc(OnOk onOk, OnFail onFail);
  virtual void config(const TnParameters& tn, uint32_t maxKBytesPerSecond, OnOk onOk,
                      OnFail onFail);
  virtual void free(OnOk onOk, OnFail onFail);
  virtual uint16_t getPortId() const { return allocInfo.portId; }
  // The body of the allocation confirm, header left zero: the `agentInfo` of a UDP session.
  virtual const KvnTraceDestAllocCfmS& getAllocInfo() const { return allocInfo; }
  virtual const KvnTraceDestConfigReqS& getConfig() const { return lastConfig; }

 private:
  uint16_t daxoId;
  std::shared_ptr<TraceDestProxy> proxy;
  KvnTraceDestAllocCfmS allocInfo{};
  KvnTraceDestConfigReqS lastConfig{};
};

}  // namespace kvn
