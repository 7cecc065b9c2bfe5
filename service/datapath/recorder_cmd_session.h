#pragma once
// What `recorder start`, `stop` and `status` share: the agents of the command and the one
// SuperTrace action that does the work. The agents' lost events, subscribed at construction,
// go to the action; its end prints the text and ends the command.

#include <stdint.h>

#include <map>
#include <memory>
#include <vector>

#include "service/datapath/super_trace_action.h"
#include "util/cmd/cmd_session.h"
#include "util/mainloop/event_id.h"

namespace kvn {

class RecorderCmdSession : public CmdSession {
 public:
  void handleEvent(kvntrace::EventId event) override;

 protected:
  explicit RecorderCmdSession(std::vector<uint16_t> agents);

  // Keeps `action` and starts it; it may end the command before this returns.
  void run(std::shared_ptr<SuperTraceAction> action);
  // The end of most actions: their text, and 1 when they failed.
  SuperTraceAction::Done printAndEnd();

  std::vector<uint16_t> agents;

 private:
  std::shared_ptr<SuperTraceAction> action_;
  std::map<kvntrace::EventId, uint16_t> lostEvents_;
};

}  // namespace kvn
