#include "service/measurements/dsp_load_start_cmd_session.h"

#include <utility>

namespace kvn {

DspLoadStartCmdSession::DspLoadStartCmdSession(std::vector<uint16_t> daxos, uint32_t durationUs)
    : DspLoadCmdSession(std::move(daxos)), durationUs(durationUs) {}

void DspLoadStartCmdSession::start() {
  switchMeasuring<KvnDspLoadStartReqS, KvnDspLoadStartCfmS>(
      true, "Already measuring on daxo ", "Measuring started on daxo ",
      [this](KvnDspLoadStartReqS& req) { req.durationUs = durationUs; });
}

void DspLoadStartCmdSession::onLost(uint16_t daxo) {
  text << "Could not start dsp load due to loss of daxo " << daxo << "\n";
}

}  // namespace kvn
