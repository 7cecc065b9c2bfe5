#include "service/signals/tsi_proxy_signals.h"

void KvnTsiProxyCreateUdpSessionReqS::toNetwork(KvnTsiProxyCreateUdpSessionReqS* msg,
                                                size_t msgSize) {
  KVNSIG_SWAP(msg, clientRef, msgSize);
  kvnsig::swapAt<uint16_t>(
      msg, offsetof(KvnTsiProxyCreateUdpSessionReqS, ipAddr) + offsetof(KvnTsiProxyIpAddrS, family),
      msgSize);
  KVNSIG_SWAP(msg, udpPortNr, msgSize);
  KVNSIG_SWAP(msg, reserved, msgSize);
  KVNSIG_SWAP(msg, sourceInfoA, msgSize);
  KVNSIG_SWAP(msg, sourceInfoB, msgSize);
}
void KvnTsiProxyCreateUdpSessionReqS::toHost(KvnTsiProxyCreateUdpSessionReqS* msg, size_t msgSize) {
  toNetwork(msg, msgSize);
}

void KvnTsiProxyCreateUdpSessionCfmS::toNetwork(KvnTsiProxyCreateUdpSessionCfmS* msg,
                                                size_t msgSize) {
  KVNSIG_SWAP(msg, sessionId, msgSize);
  KVNSIG_SWAP(msg, pcep, msgSize);
  KVNSIG_SWAP(msg, qidx, msgSize);
  KVNSIG_SWAP(msg, innerVlan, msgSize);
  KVNSIG_SWAP(msg, outerVlan, msgSize);
}
void KvnTsiProxyCreateUdpSessionCfmS::toHost(KvnTsiProxyCreateUdpSessionCfmS* msg, size_t msgSize) {
  toNetwork(msg, msgSize);
}

void KvnTsiProxyCreateUdpSessionRejS::toNetwork(KvnTsiProxyCreateUdpSessionRejS* msg,
                                                size_t msgSize) {
  KVNSIG_SWAP(msg, reasonLength, msgSize);
}
void KvnTsiProxyCreateUdpSessionRejS::toHost(KvnTsiProxyCreateUdpSessionRejS* msg, size_t msgSize) {
  toNetwork(msg, msgSize);
}

void KvnTsiProxyDeleteUdpSessionIndS::toNetwork(KvnTsiProxyDeleteUdpSessionIndS* msg,
                                                size_t msgSize) {
  KVNSIG_SWAP(msg, clientRef, msgSize);
}
void KvnTsiProxyDeleteUdpSessionIndS::toHost(KvnTsiProxyDeleteUdpSessionIndS* msg, size_t msgSize) {
  toNetwork(msg, msgSize);
}
