#include "service/measurements/dsp_load_stop_cmd_session.h"

#include <functional>
#include <utility>

#include "service/agents/daxo_trace_model.h"

namespace kvn {

DspLoadStopCmdSession::DspLoadStopCmdSession(std::vector<uint16_t> daxos)
    : DspLoadCmdSession(std::move(daxos)) {}

void DspLoadStopCmdSession::start() {
  bool refused = false;
  for (uint16_t n : daxos) {
    if (!DaxoTraceModel::get(n).dspLoad.measuring) {
      text << "Not measuring on daxo " << n << "\n";
      refused = true;
    }
  }
  if (refused) {
    finish(1);
    return;
  }
  for (uint16_t n : daxos) {
    auto& dspLoad = DaxoTraceModel::get(n).dspLoad;
    auto* msg = dspLoad.proxy->make<KvnDspLoadStopReqS>();
    std::function<void(KvnDspLoadStopCfmS*&, size_t)> onCfm = [this, n](KvnDspLoadStopCfmS*&,
                                                                        size_t) {
      if (pending.erase(n) == 0) return;
      text << "Measuring stopped on daxo " << n << "\n";
      check();
    };
    dspLoad.proxy->send(msg, getKillableCallback(std::move(onCfm)));
    dspLoad.measuring = false;
    pending.insert(n);
  }
}

void DspLoadStopCmdSession::onLost(uint16_t daxo) {
  text << "Could not stop dsp load correctly due to loss of daxo " << daxo << "\n";
}

}  // namespace kvn
