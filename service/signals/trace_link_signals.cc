#include "service/signals/trace_link_signals.h"

void KvnTraceLinkAttachReqS::toNetwork(KvnTraceLinkAttachReqS* msg, size_t msgSize) {
  KVNSIG_SWAP(msg, linkIndex, msgSize);
  KVNSIG_SWAP(msg, destSocket, msgSize);
}
void KvnTraceLinkAttachReqS::toHost(KvnTraceLinkAttachReqS* msg, size_t msgSize) {
  toNetwork(msg, msgSize);
}

void KvnTraceLinkAttachRejS::toNetwork(KvnTraceLinkAttachRejS* msg, size_t msgSize) {
  KVNSIG_SWAP(msg, cause, msgSize);
}
void KvnTraceLinkAttachRejS::toHost(KvnTraceLinkAttachRejS* msg, size_t msgSize) {
  toNetwork(msg, msgSize);
}

void KvnTraceLinkDetachReqS::toNetwork(KvnTraceLinkDetachReqS* msg, size_t msgSize) {
  KVNSIG_SWAP(msg, linkIndex, msgSize);
  KVNSIG_SWAP(msg, destSocket, msgSize);
}
void KvnTraceLinkDetachReqS::toHost(KvnTraceLinkDetachReqS* msg, size_t msgSize) {
  toNetwork(msg, msgSize);
}

void KvnTraceLinkDetachRejS::toNetwork(KvnTraceLinkDetachRejS* msg, size_t msgSize) {
  KVNSIG_SWAP(msg, cause, msgSize);
}
void KvnTraceLinkDetachRejS::toHost(KvnTraceLinkDetachRejS* msg, size_t msgSize) {
  toNetwork(msg, msgSize);
}
