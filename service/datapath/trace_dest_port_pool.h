#pragma once
// The destination ports and sockets of one agent, by local handles that grow with each
// allocation and are never reused (they are not the agent's numbers). Made at each connect of
// an agent that deploys the trace destination function.

#include <stdint.h>

#include <functional>
#include <map>
#include <memory>

#include "service/datapath/tn_parameters.h"
#include "service/datapath/trace_dest_port.h"
#include "service/datapath/trace_dest_socket.h"

namespace kvn {

class TraceDestPortPool : public std::enable_shared_from_this<TraceDestPortPool> {
 public:
  using OnHandle = std::function<void(uint32_t handle)>;
  using OnOk = std::function<void()>;
  using OnFail = std::function<void()>;

  explicit TraceDestPortPool(uint16_t daxoId) : daxoId_(daxoId) {}
  virtual ~TraceDestPortPool() = default;

  // Lookups; an unknown handle gives (and leaves) an empty entry.
  virtual std::shared_ptr<TraceDestPort> getPort(uint32_t handle);
  // A new port under the next handle; a failed allocation takes its entry away again.
  virtual void allocPort(OnHandle onOk, OnFail onFail);
  virtual void configPort(uint32_t handle, const TnParameters& tn, uint32_t maxKBytesPerSecond,
                          OnOk onOk, OnFail onFail);
  // The entry goes whatever the agent answers, before the caller hears of it.
  virtual void freePort(uint32_t handle, OnOk onOk, OnFail onFail);
  virtual std::shared_ptr<TraceDestSocket> getSocket(uint32_t handle);
  virtual void openSocket(const TraceDestSocket::OpenRecord& record, uint32_t portHandle,
                          OnHandle onOk, OnFail onFail);
  virtual void closeSocket(uint32_t handle, OnOk onOk, OnFail onFail);

  uint16_t daxoId() const { return daxoId_; }
  size_t portCount() const { return ports.size(); }

 protected:
  virtual std::shared_ptr<TraceDestPort> makePort();
  virtual std::shared_ptr<TraceDestSocket> makeSocket(uint16_t portId);

 private:
  uint16_t daxoId_;
  uint32_t nextPortHandle = 0;
  uint32_t nextSocketHandle = 0;
  std::map<uint32_t, std::shared_ptr<TraceDestPort>> ports;
  std::map<uint32_t, std::shared_ptr<TraceDestSocket>> sockets;
};

}  // namespace kvn
