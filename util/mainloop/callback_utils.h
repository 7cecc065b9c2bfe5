#pragma once

#include <functional>
#include <memory>
#include <utility>

namespace kvn {

// Base of whatever hands callbacks to routines that may outlive it (command sessions): a
// callback made here does nothing once this object is gone.
class CallbackUtils {
 public:
  CallbackUtils() : killed_(std::make_shared<bool>(false)) {}
  virtual ~CallbackUtils() { *killed_ = true; }
  CallbackUtils(const CallbackUtils&) = delete;
  CallbackUtils& operator=(const CallbackUtils&) = delete;

  template <typename... Args>
  std::function<void(Args...)> getKillableCallback(std::function<void(Args...)> fn) {
    return [fn = std::move(fn), killed = killed_](Args... args) {
      if (!*killed) fn(std::forward<Args>(args)...);
    };
  }

 private:
  std::shared_ptr<bool> killed_;
};

}  // namespace kvn
