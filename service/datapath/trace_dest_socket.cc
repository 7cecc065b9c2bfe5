#include "service/datapath/trace_dest_socket.h"

#include <string.h>

#include <utility>

#include "tracing/log.h"

namespace kvn {

namespace {

template <typename RejT>
void logReject(RejT* rej, size_t size, uint16_t daxoId) {
  TC_LOG_ERROR("Received signal %s from DAXO: %d with cause %d", RejT::name().c_str(), daxoId,
               kvnsig::readAt<int16_t>(rej, offsetof(RejT, cause), size));
}

}  // namespace

TraceDestSocket::TraceDestSocket(uint16_t daxoId, uint16_t portId,
                                 std::shared_ptr<TraceDestProxy> proxy)
    : daxoId(daxoId), portId(portId), proxy(std::move(proxy)) {}

void TraceDestSocket::open(const OpenRecord& record, OnOk onOk, OnFail onFail) {
  if (!proxy) {
    onFail();
    return;
  }
  openInfo = record;
  auto* req = proxy->make<KvnTraceDestOpenReqS>();
  req->portId = portId;
  req->count = 1;
  req->type = record.type;
  req->tnEbcomId = record.tnEbcomId;
  req->tnPcep = record.tnPcep;
  req->tnQidx = record.tnQidx;
  auto self = shared_from_this();
  proxy->send(
      req,
      [self, onOk = std::move(onOk), onFail](KvnTraceDestOpenCfmS*& cfm, size_t size) {
        const uint16_t count =
            kvnsig::readAt<uint16_t>(cfm, offsetof(KvnTraceDestOpenCfmS, count), size);
        const size_t held =
            kvnsig::elementsWithin(count, offsetof(KvnTraceDestOpenCfmS, socketId), 2, size);
        if (held < count)
          TC_LOG_ERROR(
              "KvnTraceDestOpenCfmS of %zu bytes from DAXO: %d holds %zu of its %u "
              "socket ids",
              size, self->daxoId, held, count);
        if (held == 0) {
          TC_LOG_ERROR("KvnTraceDestOpenCfmS from DAXO: %d gives no socket id", self->daxoId);
          onFail();
          return;
        }
        self->socketId =
            kvnsig::readAt<uint16_t>(cfm, offsetof(KvnTraceDestOpenCfmS, socketId), size);
        onOk();
      },
      [self, onFail](KvnTraceDestOpenRejS*& rej, size_t size) {
        logReject(rej, size, self->daxoId);
        onFail();
      });
}

void TraceDestSocket::close(OnOk onOk, OnFail onFail) {
  if (!proxy) {
    onFail();
    return;
  }
  auto* req = proxy->make<KvnTraceDestCloseReqS>();
  req->portId = portId;
  req->count = 1;
  req->socketId = socketId;
  auto self = shared_from_this();
  proxy->send(
      req, [onOk = std::move(onOk)](KvnTraceDestCloseCfmS*&, size_t) { onOk(); },
      [self, onFail = std::move(onFail)](KvnTraceDestCloseRejS*& rej, size_t size) {
        logReject(rej, size, self->daxoId);
        onFail();
      });
}

}  // namespace kvn
