#pragma once
// The service's command and agent paths on the in-process mailbox, for the fuzz targets: a
// routine table with the connect client (routines 0 and 5) and the session factory (routine 1)
// under the service's command tree, a front end and the agents as peer mailboxes. The front
// end confirms every text; agents confirm every request; so a command that ends, and peers
// that go, must leave the table as they found it.

#include <stddef.h>
#include <stdint.h>

#include <memory>
#include <string>
#include <vector>

#include "service/tracecontrol/trace_control_connect_hooks.h"
#include "util/testing/loop_with_table.h"

namespace kvn::fuzz {

class ServiceHarness {
 public:
  static constexpr uint16_t kFrontEndRoutine = 77;

  // What the front end saw of one command.
  struct Answer {
    int accepted = 0;  // sub-message 5
    int refused = 0;   // 6
    int ended = 0;     // 7
    int texts = 0;     // 8
  };

  ServiceHarness();
  ~ServiceHarness();
  ServiceHarness(const ServiceHarness&) = delete;
  ServiceHarness& operator=(const ServiceHarness&) = delete;

  // A version connect of agent `number` with the sample container's trace tables, every
  // function deployed; its first masks and utrace settings confirmed.
  void connectSampleAgent(uint16_t number);
  // `bytes` as a routine-addressed message from a peer, as it would arrive: the message
  // number is the service's, the rest stands as given (header big-endian). At least 12 bytes.
  void injectFrom(pxm_mbox_id_t from, const uint8_t* bytes, size_t size);
  // Runs until nothing moves: texts confirmed, agents' requests confirmed.
  void settle();
  // Takes what reached the front end so far.
  Answer takeAnswer();

  pxm_mbox_id_t frontEnd() const { return frontEnd_; }
  pxm_mbox_id_t newAgentMailbox(const std::string& name) { return s_.pxm.createPeer(name); }
  // The peer dies, and its watchers hear of it.
  void kill(pxm_mbox_id_t mbox);
  // Routine slots in use.
  size_t usedSlots() const { return s_.table.usedSlots(); }
  const kvn::testing::FakePxm& pxm() const { return s_.pxm; }

  // The sample container beside the fuzz targets, and a private LOG_DIR for saved states.
  static const std::string& sampleLmc();

 private:
  // Confirms what waits at the agents; true when anything was confirmed.
  bool confirmAgents();

  kvn::testing::LoopWithTable s_;
  pxm_mbox_id_t frontEnd_;
  std::vector<pxm_mbox_id_t> agents_;
  Answer answer_;
};

}  // namespace kvn::fuzz
