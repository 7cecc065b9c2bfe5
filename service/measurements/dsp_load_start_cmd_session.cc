#include "service/measurements/dsp_load_start_cmd_session.h"

#include <functional>
#include <utility>

#include "service/agents/daxo_trace_model.h"

namespace kvn {

DspLoadStartCmdSession::DspLoadStartCmdSession(std::vector<uint16_t> daxos, uint32_t durationUs)
    : DspLoadCmdSession(std::move(daxos)), durationUs(durationUs) {}

void DspLoadStartCmdSession::start() {
  bool refused = false;
  for (uint16_t n : daxos) {
    if (DaxoTraceModel::get(n).dspLoad.measuring) {
      text << "Already measuring on daxo " << n << "\n";
      refused = true;
    }
  }
  if (refused) {
    finish(1);
    return;
  }
  for (uint16_t n : daxos) {
    auto& dspLoad = DaxoTraceModel::get(n).dspLoad;
    auto* msg = dspLoad.proxy->make<KvnDspLoadStartReqS>();
    msg->durationUs = durationUs;
    std::function<void(KvnDspLoadStartCfmS*&, size_t)> onCfm = [this, n](KvnDspLoadStartCfmS*&,
                                                                         size_t) {
      if (pending.erase(n) == 0) return;
      text << "Measuring started on daxo " << n << "\n";
      check();
    };
    dspLoad.proxy->send(msg, getKillableCallback(std::move(onCfm)));
    dspLoad.measuring = true;
    pending.insert(n);
  }
}

void DspLoadStartCmdSession::onLost(uint16_t daxo) {
  text << "Could not start dsp load due to loss of daxo " << daxo << "\n";
}

}  // namespace kvn
