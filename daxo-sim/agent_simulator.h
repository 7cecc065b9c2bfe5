#pragma once
// One simulated agent on the mailbox hub: finds the service's mailbox (waiting for it when it
// is not there yet), sends its connect message, watches the service, and serves its own
// mailbox until told to stop.

#include <signal.h>
#include <stdint.h>

#include <functional>
#include <string>

#include "daxo-sim/agent_description.h"
#include "daxo-sim/handler_registry.h"
#include "daxo-sim/request_router.h"
#include "sim/journal.h"
#include "sim/service_watch.h"

union pxm_msg;

namespace kvn::daxosim {

class AgentSimulator {
 public:
  struct Options {
    std::string serviceName = "kvn-tracecontroller";
    std::string mailboxName;  // empty: the description's, else "daxo-sim-<number>"
    std::string nameSpace;    // empty: the default namespace
    bool reconnect = false;   // connect again when a service of that name comes back
    // Runs before every wait for a message; gives how many ms it wants to run again within,
    // or -1 for no wish.
    std::function<long()> tick;
  };

  // The number of the message that the hub delivers when the service's mailbox exists.
  static constexpr uint32_t kServiceFoundSignal = 0x0D5A0001;

  AgentSimulator(const AgentDescription& description, Options options, sim::Journal& journal,
                 const HandlerRegistry& handlers);
  ~AgentSimulator();
  AgentSimulator(const AgentSimulator&) = delete;
  AgentSimulator& operator=(const AgentSimulator&) = delete;

  // Runs until `stop` is set or the service goes (without `reconnect`). Returns the process
  // exit value: 0 after a stop, 1 when the mailbox hub could not be used.
  int run(const volatile sig_atomic_t& stop);

 private:
  void findService();
  void connect(uint32_t service);
  void handle(pxm_msg* msg);

  const AgentDescription& description_;
  Options options_;
  sim::Journal& journal_;
  RequestRouter router_;
  bool initialized_ = false;
  uint32_t ownMailbox_;
  sim::ServiceWatch watch_{kServiceFoundSignal};
  bool serviceGone_ = false;
};

}  // namespace kvn::daxosim
