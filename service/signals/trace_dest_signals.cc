#include "service/signals/trace_dest_signals.h"

void KvnTraceDestAllocCfmS::toNetwork(KvnTraceDestAllocCfmS* msg, size_t msgSize) {
  KVNSIG_SWAP(msg, portId, msgSize);
  KVNSIG_SWAP(msg, agentVlan, msgSize);
  KVNSIG_SWAP(msg, sourceMac, msgSize);  // word by word
  KVNSIG_SWAP(msg, reserved, msgSize);
  KVNSIG_SWAP(msg, sourceInfoA, msgSize);
  KVNSIG_SWAP(msg, sourceInfoB, msgSize);
}
void KvnTraceDestAllocCfmS::toHost(KvnTraceDestAllocCfmS* msg, size_t msgSize) {
  toNetwork(msg, msgSize);
}

#define KVNSIG_TRACE_DEST_REJ_CONVERSIONS(Type)                                         \
  void Type::toNetwork(Type* msg, size_t msgSize) { KVNSIG_SWAP(msg, cause, msgSize); } \
  void Type::toHost(Type* msg, size_t msgSize) { KVNSIG_SWAP(msg, cause, msgSize); }

KVNSIG_TRACE_DEST_REJ_CONVERSIONS(KvnTraceDestAllocRejS)
KVNSIG_TRACE_DEST_REJ_CONVERSIONS(KvnTraceDestFreeRejS)
KVNSIG_TRACE_DEST_REJ_CONVERSIONS(KvnTraceDestConfigRejS)
KVNSIG_TRACE_DEST_REJ_CONVERSIONS(KvnTraceDestOpenRejS)
KVNSIG_TRACE_DEST_REJ_CONVERSIONS(KvnTraceDestCloseRejS)

void KvnTraceDestFreeReqS::toNetwork(KvnTraceDestFreeReqS* msg, size_t msgSize) {
  KVNSIG_SWAP(msg, portId, msgSize);
}
void KvnTraceDestFreeReqS::toHost(KvnTraceDestFreeReqS* msg, size_t msgSize) {
  toNetwork(msg, msgSize);
}

void KvnTraceDestConfigReqS::toNetwork(KvnTraceDestConfigReqS* msg, size_t msgSize) {
  KVNSIG_SWAP(msg, portId, msgSize);
  KVNSIG_SWAP(msg, innerVlan, msgSize);
  KVNSIG_SWAP(msg, maxKBytesPerSecond, msgSize);
  KVNSIG_SWAP(msg, outerVlan, msgSize);
}
void KvnTraceDestConfigReqS::toHost(KvnTraceDestConfigReqS* msg, size_t msgSize) {
  toNetwork(msg, msgSize);
}

void KvnTraceDestOpenReqS::toNetwork(KvnTraceDestOpenReqS* msg, size_t msgSize) {
  KVNSIG_SWAP(msg, portId, msgSize);
  KVNSIG_SWAP(msg, count, msgSize);
  KVNSIG_SWAP(msg, type, msgSize);
  KVNSIG_SWAP(msg, tnEbcomId, msgSize);
  KVNSIG_SWAP(msg, tnPcep, msgSize);
  KVNSIG_SWAP(msg, tnQidx, msgSize);
}
void KvnTraceDestOpenReqS::toHost(KvnTraceDestOpenReqS* msg, size_t msgSize) {
  toNetwork(msg, msgSize);
}

namespace {

void swapSocketIds(KvnTraceDestOpenCfmS* msg, size_t msgSize) {
  const uint16_t count =
      kvnsig::readAt<uint16_t>(msg, offsetof(KvnTraceDestOpenCfmS, count), msgSize);
  const size_t n =
      kvnsig::elementsWithin(count, offsetof(KvnTraceDestOpenCfmS, socketId), 2, msgSize);
  for (size_t i = 0; i < n; ++i)
    kvnsig::swapAt<uint16_t>(msg, offsetof(KvnTraceDestOpenCfmS, socketId) + 2 * i, msgSize);
}

}  // namespace

void KvnTraceDestOpenCfmS::toNetwork(KvnTraceDestOpenCfmS* msg, size_t msgSize) {
  swapSocketIds(msg, msgSize);
  KVNSIG_SWAP(msg, count, msgSize);
}
void KvnTraceDestOpenCfmS::toHost(KvnTraceDestOpenCfmS* msg, size_t msgSize) {
  KVNSIG_SWAP(msg, count, msgSize);
  swapSocketIds(msg, msgSize);
}

void KvnTraceDestCloseReqS::toNetwork(KvnTraceDestCloseReqS* msg, size_t msgSize) {
  KVNSIG_SWAP(msg, portId, msgSize);
  KVNSIG_SWAP(msg, count, msgSize);
  KVNSIG_SWAP(msg, socketId, msgSize);
}
void KvnTraceDestCloseReqS::toHost(KvnTraceDestCloseReqS* msg, size_t msgSize) {
  toNetwork(msg, msgSize);
}
