#pragma once

#include <functional>
#include <map>

#include "util/mainloop/routine.h"

namespace kvn {

// A routine that only listens: one callable per event it is subscribed to.
class EventCallbackRoutine : public Routine {
 public:
  using Callback = std::function<void(kvntrace::EventId)>;

  // An event that already has a callable keeps its first one.
  void addEventCallback(kvntrace::EventId event, Callback callback);
  void removeEventCallback(kvntrace::EventId event);

  void handleEvent(kvntrace::EventId event) override;

 private:
  std::map<kvntrace::EventId, Callback> callbacks_;
};

}  // namespace kvn
