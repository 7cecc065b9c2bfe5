#include "sim/service_watch.h"

namespace kvn::sim {

std::optional<uint32_t> ServiceWatch::locate(const std::string& serviceName) {
  const uint32_t id = pxm_locate(serviceName.c_str());
  if (id != PXM_NO_MBOX) return id;
  // The hub hands this message back once a mailbox of that name exists.
  pxm_msg* found = pxm_alloc(sizeof(uint32_t), foundSignal_);
  pxm_locate_async(serviceName.c_str(), &found, PXM_MY_MBOX);
  return std::nullopt;
}

void ServiceWatch::watch(uint32_t service) {
  service_ = service;
  if (monitoring_) pxm_unmonitor(monitor_);
  pxm_msg* none = nullptr;
  monitor_ = pxm_monitor(service_, &none);
  monitoring_ = true;
}

void ServiceWatch::forget() {
  if (monitoring_) pxm_unmonitor(monitor_);
  monitoring_ = false;
  service_ = PXM_NO_MBOX;
}

ServiceWatch::Event ServiceWatch::classify(pxm_msg* msg) {
  if (msg->msgno == foundSignal_) return Event::kFound;
  if (msg->msgno == PXM_MBOX_GONE && monitoring_ && pxm_sender(msg) == service_) {
    monitoring_ = false;
    service_ = PXM_NO_MBOX;
    return Event::kLost;
  }
  return Event::kNone;
}

}  // namespace kvn::sim
