#pragma once
// A command that asks each of its agents one question, all at once, and ends when every agent
// asked has answered or is lost: the agents, whose lost events are subscribed at construction,
// the agents still awaited, and the text for the operator. It ends with 1 when an awaited agent
// was lost, else 0.

#include <stddef.h>
#include <stdint.h>

#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <utility>
#include <vector>

#include "util/cmd/cmd_session.h"
#include "util/mainloop/event_id.h"

namespace kvn {

class AgentFanOutCmdSession : public CmdSession {
 public:
  void handleEvent(kvntrace::EventId event) override;

 protected:
  explicit AgentFanOutCmdSession(std::vector<uint16_t> daxos);

  // Sends `msg` through `proxy` and awaits `daxo`: its confirm goes to `onCfm(cfm, msgsize)`
  // while it is awaited, and then the command may end.
  template <typename Cfm, typename Proxy, typename Req, typename OnCfm>
  void ask(uint16_t daxo, Proxy& proxy, Req* msg, OnCfm onCfm);
  // Writes the loss of `daxo`, which was awaited, into `text`.
  virtual void onLost(uint16_t daxo) = 0;
  // Ends the command once nothing is awaited.
  virtual void check();
  // Prints `text` and ends with `result`.
  void finish(uint8_t result);

  std::vector<uint16_t> daxos;
  std::set<uint16_t> pending;  // the agents whose answer is awaited
  std::ostringstream text;
  bool lost = false;

 private:
  std::map<kvntrace::EventId, uint16_t> lostEvents;
};

template <typename Cfm, typename Proxy, typename Req, typename OnCfm>
void AgentFanOutCmdSession::ask(uint16_t daxo, Proxy& proxy, Req* msg, OnCfm onCfm) {
  std::function<void(Cfm*&, size_t)> answered = [this, daxo, onCfm](Cfm*& cfm, size_t msgsize) {
    if (pending.erase(daxo) == 0) return;
    onCfm(*cfm, msgsize);
    check();
  };
  proxy.send(msg, getKillableCallback(std::move(answered)));
  pending.insert(daxo);
}

}  // namespace kvn
