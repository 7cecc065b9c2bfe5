#pragma once
// Test support of the measurement commands: agents in the model with the measurement function
// (DSP load and CM pool on one routine), whose requests the test reads and answers by hand.

#include <stdint.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "service/tracecontrol/log_test_fixture.h"
#include "util/cmd_parser.h"

namespace kvn::testing {

class MeasurementTestFixture : public LogTestFixture {
 protected:
  static constexpr uint16_t kMeasurementRoutine = 31;

  DaxoRecord& addMeasuringAgent(uint16_t n) {
    DaxoRecord& r = addAgent(n, Agent{});
    const kvntrace::EventId lost = r.lostEvent->getId();
    r.dspLoad.id = r.cmPool.id = kMeasurementRoutine;
    r.dspLoad.proxy = std::make_shared<DspLoadProxy>(&table, r.mailbox, kMeasurementRoutine, lost);
    r.cmPool.proxy = std::make_shared<CmPoolProxy>(&table, r.mailbox, kMeasurementRoutine, lost);
    return r;
  }

  // Runs a command through its parser; gives what the front end got so far.
  Answer command(CmdParser& parser, const std::vector<std::string>& words) {
    answer_ = {};
    launch(parser.parse(words));
    return answer();
  }

  // The next request that reached agent `n`.
  std::optional<FakePxm::Sent> request(uint16_t n) { return pxm.popSent(agentMailbox[n]); }
  // The agent answers `req` with `submsgno` and `body`.
  Answer reply(uint16_t n, const FakePxm::Sent& req, uint16_t submsgno,
               const std::vector<uint8_t>& body = {}) {
    pxm.injectObs(agentMailbox[n], req.srcRoutineId, req.dstRoutineId, submsgno, body);
    run();
    return answer();
  }

  static void put16(std::vector<uint8_t>& b, uint16_t v) {
    b.push_back(static_cast<uint8_t>(v >> 8));
    b.push_back(static_cast<uint8_t>(v));
  }
  static void put32(std::vector<uint8_t>& b, uint32_t v) {
    put16(b, static_cast<uint16_t>(v >> 16));
    put16(b, static_cast<uint16_t>(v));
  }
};

}  // namespace kvn::testing
