#include "service/measurements/dsp_load_stop_cmd_session.h"

#include <utility>

namespace kvn {

DspLoadStopCmdSession::DspLoadStopCmdSession(std::vector<uint16_t> daxos)
    : DspLoadCmdSession(std::move(daxos)) {}

void DspLoadStopCmdSession::start() {
  switchMeasuring<KvnDspLoadStopReqS, KvnDspLoadStopCfmS>(
      false, "Not measuring on daxo ", "Measuring stopped on daxo ", [](KvnDspLoadStopReqS&) {});
}

void DspLoadStopCmdSession::onLost(uint16_t daxo) {
  text << "Could not stop dsp load correctly due to loss of daxo " << daxo << "\n";
}

}  // namespace kvn
