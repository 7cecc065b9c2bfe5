#pragma once
// `zomlek dspload start`: starts a measurement of the given length on every agent of the
// command, or on none when one of them is measuring already. The agent's `measuring` flag is
// set as the request goes out.

#include <stdint.h>

#include <vector>

#include "service/measurements/dsp_load_cmd_session.h"

namespace kvn {

class DspLoadStartCmdSession : public DspLoadCmdSession {
 public:
  DspLoadStartCmdSession(std::vector<uint16_t> daxos, uint32_t durationUs);

  void start() override;

 private:
  void onLost(uint16_t daxo) override;

  uint32_t durationUs;
};

}  // namespace kvn
