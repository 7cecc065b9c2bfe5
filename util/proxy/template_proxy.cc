#include "util/proxy/template_proxy.h"

#include <utility>

namespace kvntrace {

namespace detail {

bool isNonNull(const void* p) { return p != nullptr; }

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
  kvn::UnsentMessage unsent(std::exchange(msg, nullptr));
  const uint16_t id = routineTable->allocate(routine);
  msg = unsent.release();
  routine->sendObs(msg, mailbox, id, routineId, submsgno);
  routine->release();
}

void ProxyReceiverBase::sendIndication(pxm_msg*& msg, uint16_t submsgno) {
  owner.sendObs(msg, mailbox, static_cast<uint16_t>(owner.getRoutineId()), routineId, submsgno);
}

}  // namespace kvntrace
