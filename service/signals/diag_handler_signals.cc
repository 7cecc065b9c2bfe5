#include "service/signals/diag_handler_signals.h"

void KvnDiagHandlerHelloS::toNetwork(KvnDiagHandlerHelloS* msg, size_t msgSize) {
  KVNSIG_SWAP(msg, value, msgSize);
}
void KvnDiagHandlerHelloS::toHost(KvnDiagHandlerHelloS* msg, size_t msgSize) {
  toNetwork(msg, msgSize);
}

void KvnDiagHandlerHelloReplyS::toNetwork(KvnDiagHandlerHelloReplyS* msg, size_t msgSize) {
  kvnsig::swapAt<uint32_t>(msg, offsetof(KvnDiagHandlerHelloReplyS, two), msgSize);
  KVNSIG_SWAP(msg, nameLength, msgSize);
}
void KvnDiagHandlerHelloReplyS::toHost(KvnDiagHandlerHelloReplyS* msg, size_t msgSize) {
  toNetwork(msg, msgSize);
}
