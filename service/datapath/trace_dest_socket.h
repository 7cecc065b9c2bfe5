#pragma once
// One socket on an agent's destination port, from its opening to its closing.

#include <stdint.h>

#include <functional>
#include <memory>

#include "service/signals/signal_proxies.h"

namespace kvn {

class TraceDestSocket : public std::enable_shared_from_this<TraceDestSocket> {
 public:
  using OnOk = std::function<void()>;
  using OnFail = std::function<void()>;

  // The one record of an open request.
  struct OpenRecord {
    uint16_t type = 1;
    uint32_t tnEbcomId = 0;
    uint32_t tnPcep = 0;
    uint16_t tnQidx = 0;
  };

  TraceDestSocket(uint16_t daxoId, uint16_t portId, std::shared_ptr<TraceDestProxy> proxy);
  virtual ~TraceDestSocket() = default;

  virtual void open(const OpenRecord& record, OnOk onOk, OnFail onFail);
  virtual void close(OnOk onOk, OnFail onFail);
  virtual uint16_t getSocketId() const { return socketId; }
  virtual const OpenRecord& getOpenInfo() const { return openInfo; }

 private:
  uint16_t daxoId;
  uint16_t socketId = 0;
  uint16_t portId;
  OpenRecord openInfo;
  std::shared_ptr<TraceDestProxy> proxy;
};

}  // namespace kvn
