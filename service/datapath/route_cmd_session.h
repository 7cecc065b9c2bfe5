#pragma once
// `zoth route` once parsed: moves `source` of one agent from the destination it is attached to
// onto `dest`. Every parallel link of the old cell is detached (with the new route's socket
// number), then every link of the new cell attached. Routing the memory buffer (embuf) stops
// the agent's stream first and starts a stream when the route is done. The model's `attached`
// flags change before the agent agrees and are not rolled back on a reject.

#include <stdint.h>

#include <memory>
#include <string>

#include "util/cmd/cmd_session.h"
#include "util/mainloop/event_id.h"

namespace kvn {

class SuperTraceAction;

class RouteCmdSession : public CmdSession {
 public:
  // Subscribes to the lost event of `daxo`, which must have connected.
  RouteCmdSession(uint16_t daxo, uint32_t destSocket, std::string destName, uint32_t source,
                  uint32_t dest);

  void start() override;
  void handleEvent(kvntrace::EventId event) override;

  uint16_t getDaxo() const { return daxo; }
  uint32_t getDestSocket() const { return destSocket; }
  const std::string& getDestName() const { return destName; }
  uint32_t getSource() const { return source; }
  uint32_t getDest() const { return dest; }

 protected:
  virtual void detachConnectedDest(int d);
  virtual void attachConnection();

  // Ends the command with `text` and result 1, once; later answers are ignored.
  void fail(const std::string& text);
  bool isOver() const { return over; }

  uint16_t daxo;
  uint32_t destSocket;
  std::string destName;
  uint32_t source;
  uint32_t dest;
  uint32_t previousDest = 0;
  uint32_t pendingLinks = 0;

 private:
  void stopStream();
  void linkDetached();
  void linkAttached();
  void routed();
  void succeed(const std::string& text);

  kvntrace::EventId lostEvent;
  bool over = false;
  // The stream's stop before and start after an embuf route; each kept until the session goes,
  // as its answer may be what ends the session.
  std::shared_ptr<SuperTraceAction> streamStop;
  std::shared_ptr<SuperTraceAction> streamStart;
};

}  // namespace kvn
