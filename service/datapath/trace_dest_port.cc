#include "service/datapath/trace_dest_port.h"

#include <string.h>

#include <algorithm>
#include <utility>

#include "tracing/log.h"

namespace kvn {

namespace {

template <typename RejT>
void logReject(RejT* rej, size_t size, uint16_t daxoId) {
  TC_LOG_ERROR("Received signal %s from DAXO: %d with cause %d", RejT::name().c_str(), daxoId,
               kvnsig::readAt<int16_t>(rej, offsetof(RejT, cause), size));
}

// A request of `T` with its body zeroed.
template <typename T>
T* newRequest(TraceDestProxy& proxy) {
  auto* req = proxy.make<T>();
  memset(reinterpret_cast<char*>(req) + sizeof(KvnObsSubMessageWithSubMsgNo), 0,
         sizeof(T) - sizeof(KvnObsSubMessageWithSubMsgNo));
  return req;
}

}  // namespace

TraceDestPort::TraceDestPort(uint16_t daxoId, std::shared_ptr<TraceDestProxy> proxy)
    : daxoId(daxoId), proxy(std::move(proxy)) {}

void TraceDestPort::alloc(OnOk onOk, OnFail onFail) {
  if (!proxy) {
    TC_LOG_ERROR("DAXO: %d has no trace destination function", daxoId);
    onFail();
    return;
  }
  auto self = shared_from_this();
  proxy->send(
      newRequest<KvnTraceDestAllocReqS>(*proxy),
      [self, onOk = std::move(onOk)](KvnTraceDestAllocCfmS*& cfm, size_t size) {
        if (size < sizeof(KvnTraceDestAllocCfmS))
          TC_LOG_ERROR(
              "KvnTraceDestAllocCfmS of %zu bytes from DAXO: %d is shorter than its "
              "%zu-byte record; what it lacks reads as 0",
              size, self->daxoId, sizeof(KvnTraceDestAllocCfmS));
        memset(&self->allocInfo, 0, sizeof self->allocInfo);
        const size_t header = sizeof(KvnObsSubMessageWithSubMsgNo);
        if (size > header)
          memcpy(reinterpret_cast<char*>(&self->allocInfo) + header,
                 reinterpret_cast<const char*>(cfm) + header,
                 std::min(size, sizeof(KvnTraceDestAllocCfmS)) - header);
        onOk();
      },
      [self, onFail = std::move(onFail)](KvnTraceDestAllocRejS*& rej, size_t size) {
        logReject(rej, size, self->daxoId);
        onFail();
      });
}

void TraceDestPort::config(const TnParameters& tn, uint32_t maxKBytesPerSecond, OnOk onOk,
                           OnFail onFail) {
  if (!proxy) {
    onFail();
    return;
  }
  auto* req = newRequest<KvnTraceDestConfigReqS>(*proxy);
  req->portId = getPortId();
  memcpy(req->mac, tn.mac, sizeof req->mac);
  req->innerVlan = tn.innerVlan;
  req->maxKBytesPerSecond = maxKBytesPerSecond;
  req->outerVlan = tn.outerVlan;
  lastConfig = *req;
  auto self = shared_from_this();
  proxy->send(
      req, [onOk = std::move(onOk)](KvnTraceDestConfigCfmS*&, size_t) { onOk(); },
      [self, onFail = std::move(onFail)](KvnTraceDestConfigRejS*& rej, size_t size) {
        logReject(rej, size, self->daxoId);
        onFail();
      });
}

void TraceDestPort::free(OnOk onOk, OnFail onFail) {
  if (!proxy) {
    onFail();
    return;
  }
  auto* req = newRequest<KvnTraceDestFreeReqS>(*proxy);
  req->portId = getPortId();
  auto self = shared_from_this();
  proxy->send(
      req, [onOk = std::move(onOk)](KvnTraceDestFreeCfmS*&, size_t) { onOk(); },
      [self, onFail = std::move(onFail)](KvnTraceDestFreeRejS*& rej, size_t size) {
        logReject(rej, size, self->daxoId);
        onFail();
      });
}

}  // namespace kvn
