#pragma once
// How a simulator finds the service's mailbox and watches it: located at once, or announced by
// the hub with the simulator's own signal once a mailbox of that name exists; then monitored,
// so that the service's death arrives as PXM_MBOX_GONE.

#include <stdint.h>

#include <optional>
#include <string>

#include "pxm/pxm.h"

namespace kvn::sim {

class ServiceWatch {
 public:
  // `foundSignal`: the signal number under which the hub announces the service.
  explicit ServiceWatch(uint32_t foundSignal) : foundSignal_(foundSignal) {}

  // The service's mailbox, or nothing; then the hub announces it when it exists.
  std::optional<uint32_t> locate(const std::string& serviceName);
  // Watches `service`, in place of any service watched before.
  void watch(uint32_t service);
  // Stops watching; before the mailbox library is left.
  void forget();

  enum class Event { kNone, kFound, kLost };
  // What `msg` says of the service: announced (locate again), or the watched service gone (no
  // longer watched), or neither.
  Event classify(pxm_msg* msg);

  uint32_t service() const { return service_; }

 private:
  uint32_t foundSignal_;
  uint32_t service_ = PXM_NO_MBOX;
  pxm_monitor_id_t monitor_ = 0;
  bool monitoring_ = false;
};

}  // namespace kvn::sim
