#pragma once
// The simulated diag handler on the mailbox hub: finds the service (waiting for it when it is
// not there yet), sends its hello to routine 8, and then plays the TSI proxy behind it: answers
// each UDP session request, notes each delete indication, and journals every message. When the
// service goes it waits for the next one and says hello again; on request it goes away itself
// (a new mailbox) and comes back with a new hello.

#include <signal.h>
#include <stdint.h>

#include <chrono>
#include <deque>
#include <string>
#include <vector>

#include "diag-sim/tsi_answer.h"
#include "sim/journal.h"
#include "sim/service_watch.h"

union pxm_msg;

namespace kvn::diagsim {

class DiagSimulator {
 public:
  enum class ReplyMode { kAtOnce, kDelayed, kDropped };

  struct Options {
    std::string serviceName = "kvn-tracecontroller";
    std::string mailboxName = "diag-sim";
    std::string nameSpace;
    TsiAnswer answer;
    ReplyMode replyMode = ReplyMode::kAtOnce;
    std::chrono::milliseconds replyDelay{0};
    // Where each confirmed UDP session's address goes, for the agents that stream to it; empty:
    // nowhere.
    std::string sessionsDir;
  };

  // The routine of the diag handler that says hello, and of its TSI proxy.
  static constexpr uint16_t kHelloRoutine = 20;
  static constexpr uint16_t kTsiProxyRoutine = 0;
  // The number of the message that the hub delivers when the service's mailbox exists.
  static constexpr uint32_t kServiceFoundSignal = 0x0D5A0002;

  DiagSimulator(Options options, sim::Journal& journal);
  ~DiagSimulator();
  DiagSimulator(const DiagSimulator&) = delete;
  DiagSimulator& operator=(const DiagSimulator&) = delete;

  // Runs until `stop` is set; each time `rejoin` is set (and cleared here) the simulator goes
  // away and comes back. Returns 0 after a stop, 1 when the hub could not be used.
  int run(const volatile sig_atomic_t& stop, volatile sig_atomic_t& rejoin);

 private:
  struct Held {
    std::chrono::steady_clock::time_point due;
    std::vector<uint8_t> message;
    uint32_t to;
  };

  bool openMailbox();
  void closeMailbox();
  void findService();
  void hello(uint32_t service);
  void handle(pxm_msg* msg);
  void handleRoutineMessage(uint32_t sender, const uint8_t* bytes, size_t size);
  void reply(std::vector<uint8_t> message, uint32_t to, const char* what, nlohmann::json& entry);
  void sendDue();
  void publishSession(const nlohmann::json& request);

  Options options_;
  sim::Journal& journal_;
  bool initialized_ = false;
  uint32_t ownMailbox_;
  sim::ServiceWatch watch_{kServiceFoundSignal};
  uint32_t hellos_ = 0;
  std::deque<Held> held_;
};

}  // namespace kvn::diagsim
