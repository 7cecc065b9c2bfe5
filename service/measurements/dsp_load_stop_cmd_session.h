#pragma once
// `zomlek dspload stop`: stops the measurement on every agent of the command, or on none when
// one of them is not measuring. The agent's `measuring` flag is cleared as the request goes out.

#include <stdint.h>

#include <vector>

#include "service/measurements/dsp_load_cmd_session.h"

namespace kvn {

class DspLoadStopCmdSession : public DspLoadCmdSession {
 public:
  explicit DspLoadStopCmdSession(std::vector<uint16_t> daxos);

  void start() override;

 private:
  void onLost(uint16_t daxo) override;
};

}  // namespace kvn
