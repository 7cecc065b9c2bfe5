#pragma once
// The base of the one-shot SuperTrace actions that a command session owns (start, stop, and the
// fetch of the buffer indexes): the agents it works on, the text it gathers, what it still waits
// for, and the one call of `done` that ends it. The session passes its agents' lost events to
// `onAgentLost`; an action that has ended ignores whatever comes later.

#include <stdint.h>

#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "util/mainloop/callback_utils.h"

namespace kvn {

class SuperTraceAction : public CallbackUtils {
 public:
  using Done = std::function<void(bool failed, const std::string& text)>;

  SuperTraceAction(std::vector<uint16_t> agents, Done done)
      : agents(std::move(agents)), done_(std::move(done)) {}

  virtual void start() = 0;
  virtual void onAgentLost(uint16_t agent) = 0;

  bool finished() const { return finished_; }

 protected:
  // "Action failed due to loss of daxo N." on its line, and the action counts as failed.
  void noteLost(uint16_t agent);
  // Calls `done` with the text gathered, once; the action may be gone when it returns.
  void finish(bool failed);

  std::vector<uint16_t> agents;
  std::ostringstream text;
  bool agentLostSeen = false;
  uint32_t pending = 0;

 private:
  Done done_;
  bool finished_ = false;
};

}  // namespace kvn
