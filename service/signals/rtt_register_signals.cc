#include "service/signals/rtt_register_signals.h"

void KvnRttSetRegisterReqS::toNetwork(KvnRttSetRegisterReqS* msg, size_t msgSize) {
  KVNSIG_SWAP(msg, registerId, msgSize);
  KVNSIG_SWAP(msg, value, msgSize);
}
void KvnRttSetRegisterReqS::toHost(KvnRttSetRegisterReqS* msg, size_t msgSize) {
  toNetwork(msg, msgSize);
}
