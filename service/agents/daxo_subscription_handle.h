#pragma once
// A subscription to the connection monitor; destroying the handle ends it. Safe to outlive
// the monitor.

#include <stdint.h>

#include <functional>
#include <memory>

namespace kvn {

class DaxoSubscriptionHandle {
 public:
  DaxoSubscriptionHandle(std::weak_ptr<std::function<void(uint32_t)>> unsubscribe, uint32_t id)
      : unsubscribe_(std::move(unsubscribe)), id_(id) {}
  ~DaxoSubscriptionHandle() {
    if (auto f = unsubscribe_.lock()) (*f)(id_);
  }
  DaxoSubscriptionHandle(const DaxoSubscriptionHandle&) = delete;
  DaxoSubscriptionHandle& operator=(const DaxoSubscriptionHandle&) = delete;

  uint32_t id() const { return id_; }

 private:
  std::weak_ptr<std::function<void(uint32_t)>> unsubscribe_;
  uint32_t id_;
};

}  // namespace kvn
