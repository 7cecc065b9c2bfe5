#include "util/proxy/template_proxy.h"

namespace kvntrace {

namespace detail {

bool isNonNull(const void* p) { return p != nullptr; }

void dropMessage(pxm_msg* msg) {
  if (msg != nullptr) kvn::RoutineTable::s_pxmsys->free(msg);
}

}  // namespace detail

pxm_msg* TemplateBaseProxy::alloc_msg(size_t size) {
  KVNTRACE_ASSERT_TEXT(detail::isNonNull(this), "this != nullptr");
  auto routine = std::make_shared<kvn::Routine>();
  routineTable->allocate(routine);
  pxm_msg* msg = routine->alloc_msg(size);
  routine->release();
  return msg;
}

void TemplateBaseProxy::sendIndication(pxm_msg*& msg, uint16_t submsgno) {
  auto routine = std::make_shared<kvn::Routine>();
  uint16_t id = 0;
  try {
    id = routineTable->allocate(routine);
  } catch (...) {
    detail::dropMessage(msg);
    msg = nullptr;
    throw;
  }
  routine->sendObs(msg, mailbox, id, routineId, submsgno);
  routine->release();
}

void ProxyReceiverBase::sendIndication(pxm_msg*& msg, uint16_t submsgno) {
  owner.sendObs(msg, mailbox, static_cast<uint16_t>(owner.getRoutineId()), routineId, submsgno);
}

}  // namespace kvntrace
