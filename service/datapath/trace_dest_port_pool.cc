#include "service/datapath/trace_dest_port_pool.h"

#include <utility>

#include "service/agents/daxo_trace_model.h"

namespace kvn {

std::shared_ptr<TraceDestPort> TraceDestPortPool::getPort(uint32_t handle) { return ports[handle]; }

std::shared_ptr<TraceDestSocket> TraceDestPortPool::getSocket(uint32_t handle) {
  return sockets[handle];
}

std::shared_ptr<TraceDestPort> TraceDestPortPool::makePort() {
  return std::make_shared<TraceDestPort>(daxoId_, DaxoTraceModel::get(daxoId_).traceDest.proxy);
}

std::shared_ptr<TraceDestSocket> TraceDestPortPool::makeSocket(uint16_t portId) {
  return std::make_shared<TraceDestSocket>(daxoId_, portId,
                                           DaxoTraceModel::get(daxoId_).traceDest.proxy);
}

void TraceDestPortPool::allocPort(OnHandle onOk, OnFail onFail) {
  const uint32_t handle = ++nextPortHandle;
  std::shared_ptr<TraceDestPort> port = makePort();
  ports[handle] = port;
  auto self = shared_from_this();
  port->alloc([handle, onOk = std::move(onOk)] { onOk(handle); },
              [self, handle, onFail = std::move(onFail)] {
                self->ports.erase(handle);
                onFail();
              });
}

void TraceDestPortPool::configPort(uint32_t handle, const TnParameters& tn,
                                   uint32_t maxKBytesPerSecond, OnOk onOk, OnFail onFail) {
  std::shared_ptr<TraceDestPort> port = getPort(handle);
  if (!port) {
    ports.erase(handle);
    onFail();
    return;
  }
  port->config(tn, maxKBytesPerSecond, std::move(onOk), std::move(onFail));
}

void TraceDestPortPool::freePort(uint32_t handle, OnOk onOk, OnFail onFail) {
  std::shared_ptr<TraceDestPort> port = getPort(handle);
  if (!port) {
    ports.erase(handle);
    onFail();
    return;
  }
  auto self = shared_from_this();
  port->free(
      [self, handle, onOk = std::move(onOk)] {
        self->ports.erase(handle);
        onOk();
      },
      [self, handle, onFail = std::move(onFail)] {
        self->ports.erase(handle);
        onFail();
      });
}

void TraceDestPortPool::openSocket(const TraceDestSocket::OpenRecord& record, uint32_t portHandle,
                                   OnHandle onOk, OnFail onFail) {
  std::shared_ptr<TraceDestPort> port = getPort(portHandle);
  if (!port) {
    ports.erase(portHandle);
    onFail();
    return;
  }
  const uint32_t handle = ++nextSocketHandle;
  std::shared_ptr<TraceDestSocket> socket = makeSocket(port->getPortId());
  sockets[handle] = socket;
  auto self = shared_from_this();
  socket->open(
      record, [handle, onOk = std::move(onOk)] { onOk(handle); },
      [self, handle, onFail = std::move(onFail)] {
        self->sockets.erase(handle);
        onFail();
      });
}

void TraceDestPortPool::closeSocket(uint32_t handle, OnOk onOk, OnFail onFail) {
  std::shared_ptr<TraceDestSocket> socket = getSocket(handle);
  if (!socket) {
    sockets.erase(handle);
    onFail();
    return;
  }
  auto self = shared_from_this();
  socket->close(
      [self, handle, onOk = std::move(onOk)] {
        self->sockets.erase(handle);
        onOk();
      },
      [self, handle, onFail = std::move(onFail)] {
        self->sockets.erase(handle);
        onFail();
      });
}

}  // namespace kvn
