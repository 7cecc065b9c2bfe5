#pragma once
// The transport set-up of one agent towards one destination: a port on the agent, a UDP
// session at the TSI proxy, a socket on the port, in that order, and their teardown in the
// reverse order. A routine, so that it hears of the agent's loss (and, while it waits for the
// TSI proxy, of the diag handler's); it releases itself once the port is free.
//
//   start()    allocating -> creating UDP session -> configuring -> opening -> ready (onReady)
//   stop()     while setting up: the step in flight unwinds when it returns;
//              when ready: delete the UDP session, close the socket, free the port.
//
// A failing step starts its unwinding and then reports one text through onFail. A lost agent
// ends the session at once with neither callback: the waiting side has its own subscription.

#include <stdint.h>

#include <functional>
#include <memory>
#include <string>

#include "service/datapath/tn_parameters.h"
#include "util/mainloop/callback_utils.h"
#include "util/mainloop/event_id.h"
#include "util/mainloop/routine.h"

namespace kvn {

class TraceDestination;
class TraceDestPortPool;

class DaxoTnSession : public Routine, public CallbackUtils {
 public:
  using OnReady = std::function<void(uint16_t socketId)>;
  using OnFail = std::function<void(const std::string&)>;

  // The agent must have connected; its port pool is taken now.
  DaxoTnSession(uint16_t daxoId, std::shared_ptr<TraceDestination> destination, OnReady onReady,
                OnFail onFail);

  void handleEvent(kvntrace::EventId event) override;

  // Call once the session is registered in the routine table.
  virtual void start();
  virtual void stop();
  virtual uint16_t getSocketId() const { return socketId; }

 private:
  void allocated(uint32_t handle);
  void tsiConfirmed(const TnParameters& tn);
  void tsiRejected(const std::string& reason);
  void configured(const TnParameters& tn);
  void opened(uint32_t handle);
  void failed(const std::string& text, bool deleteTsi);
  // Unwinding: the UDP session (if it was made), then the socket (if open), then the port.
  void deleteTsi();
  void closeSocketThenFree();
  void freePortThenEnd();

  template <typename... Args>
  std::function<void(Args...)> killable(std::function<void(Args...)> fn) {
    return getKillableCallback(std::move(fn));
  }

  uint16_t daxoId;
  std::shared_ptr<TraceDestination> destination;
  bool settingUp = false;
  bool stopRequested = false;
  uint32_t clientRef = 0;
  OnReady onReady;
  OnFail onFail;
  kvntrace::EventId lostEvent;
  uint16_t socketId = 0;
  uint32_t portHandle = 0;
  uint32_t socketHandle = 0;

  std::shared_ptr<TraceDestPortPool> pool;
  kvntrace::EventId diagHandlerLostEvent;
  bool waitingForTsi = false;  // listening to the diag handler's loss
  bool tsiDeleted = false;     // this session's UDP session is no longer counted
  bool tearingDown = false;
};

}  // namespace kvn
