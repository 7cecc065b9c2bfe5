#include "util/mainloop/event_callback_routine.h"

#include <utility>

namespace kvn {

void EventCallbackRoutine::addEventCallback(kvntrace::EventId event, Callback callback) {
  if (callbacks_.count(event) != 0) return;
  subscribeEvent(event);
  callbacks_.emplace(event, std::move(callback));
}

void EventCallbackRoutine::removeEventCallback(kvntrace::EventId event) {
  auto it = callbacks_.find(event);
  if (it == callbacks_.end()) return;
  unsubscribeEvent(event);
  callbacks_.erase(it);
}

void EventCallbackRoutine::handleEvent(kvntrace::EventId event) {
  auto it = callbacks_.find(event);
  if (it == callbacks_.end()) return;
  // The callable may remove itself; run a copy.
  Callback callback = it->second;
  callback(event);
}

}  // namespace kvn
