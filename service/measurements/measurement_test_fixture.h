#pragma once
// Test support of the measurement commands: the agents of the log command tests with the
// measurement functions besides (hit counter and register manager; DSP load and CM pool on one
// routine), whose requests the test reads and answers by hand.

#include <stdint.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "service/agents/daxo_trace_model.h"
#include "service/tracecontrol/log_test_fixture.h"
#include "util/cmd/cmd_parser.h"
#include "util/testing/wire_bytes.h"

namespace kvn::testing {

class MeasurementTestFixture : public LogTestFixture {
 protected:
  static constexpr uint16_t kRttRoutine = 30;
  static constexpr uint16_t kMeasurementRoutine = 31;
  static constexpr uint16_t kHitCounterRoutine = 32;

  // An agent with a hit counter and a register manager.
  DaxoRecord& addMeasuredAgent(uint16_t n, uint32_t version = 3) {
    DaxoRecord& r = addAgent(n, Agent{});
    r.version = version;
    const kvntrace::EventId lost = r.lostEvent->getId();
    r.traceHitCounter.id = kHitCounterRoutine;
    r.traceHitCounter.proxy =
        std::make_shared<TraceHitCounterProxy>(&table, r.mailbox, kHitCounterRoutine, lost);
    r.rttManager.id = kRttRoutine;
    r.rttManager.proxy = std::make_shared<RttProxy>(&table, r.mailbox, kRttRoutine, lost);
    return r;
  }

  // An agent with the DSP load and CM pool function.
  DaxoRecord& addMeasuringAgent(uint16_t n) {
    DaxoRecord& r = addAgent(n, Agent{});
    const kvntrace::EventId lost = r.lostEvent->getId();
    r.dspLoad.id = r.cmPool.id = kMeasurementRoutine;
    r.dspLoad.proxy = std::make_shared<DspLoadProxy>(&table, r.mailbox, kMeasurementRoutine, lost);
    r.cmPool.proxy = std::make_shared<CmPoolProxy>(&table, r.mailbox, kMeasurementRoutine, lost);
    return r;
  }

  // Parses and runs `words` as the factory does; a parse error is the answer, result 1.
  Answer command(CmdParser& parser, const std::vector<std::string>& words) {
    try {
      return CmdLayerTestBase::command(parser.parse(words));
    } catch (const CmdParserError& e) {
      return answer_ = {std::string(e.what()) + "\n", 1};
    }
  }

  // The next request that reached agent `n`; fails the test when there is none.
  FakePxm::Sent expectRequest(uint16_t n) {
    std::optional<FakePxm::Sent> m = pxm.popSent(agentMailbox[n]);
    if (!m) {
      ADD_FAILURE() << "no request reached agent " << n;
      return {};
    }
    return *m;
  }
  // The agent answers `req` under `submsgno` with a body in network order; gives what the front
  // end got so far.
  Answer reply(uint16_t n, const FakePxm::Sent& req, uint16_t submsgno,
               const std::vector<uint8_t>& body = {}) {
    pxm.injectObs(agentMailbox[n], req.srcRoutineId, req.dstRoutineId, submsgno, body);
    LogTestFixture::run();
    return answer();
  }
};

}  // namespace kvn::testing
