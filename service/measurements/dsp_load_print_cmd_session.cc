#include "service/measurements/dsp_load_print_cmd_session.h"

#include <utility>

#include "service/agents/daxo_trace_model.h"
#include "service/measurements/dsp_load_text.h"
#include "util/proxy/template_proxy.h"

namespace kvn {

DspLoadPrintCmdSession::DspLoadPrintCmdSession(std::vector<uint16_t> daxos, bool snapshot)
    : DspLoadCmdSession(std::move(daxos)), snapshot(snapshot) {}

void DspLoadPrintCmdSession::start() {
  for (uint16_t n : daxos) {
    if (DaxoTraceModel::get(n).dspLoad.measuring) {
      text << "Already measuring on daxo " << n << "\n";
      finish(1);
      return;
    }
  }
  for (uint16_t n : daxos) {
    auto& dspLoad = DaxoTraceModel::get(n).dspLoad;
    auto* msg = dspLoad.proxy->make<KvnDspLoadPrintReqS>();
    msg->snapshot = snapshot ? 1 : 0;
    msg->padding = 0;
    ask<KvnDspLoadPrintCfmS>(
        n, *dspLoad.proxy, msg,
        [this, n](const KvnDspLoadPrintCfmS& cfm, size_t msgsize) { onConfirm(n, &cfm, msgsize); });
  }
}

void DspLoadPrintCmdSession::onConfirm(uint16_t daxo, const KvnDspLoadPrintCfmS* cfm,
                                       size_t msgsize) {
  KVNTRACE_ASSERT_TEXT(msgsize >= sizeof(KvnDspLoadPrintCfmS),
                       "msgsize >= sizeof(KvnDspLoadPrintCfmS)");
  const auto action = results.emplace(daxo, DspLoadData::fromConfirm(cfm, msgsize));
  KVNTRACE_ASSERT_TEXT(action.second, "action.second");
  writeDspLoadText(text, action.first->second, !snapshot);
}

void DspLoadPrintCmdSession::onLost(uint16_t daxo) {
  text << "Could not get dsp load information due to loss of daxo " << daxo << "\n";
}

void DspLoadPrintCmdSession::check() {
  if (results.size() == daxos.size())
    finish(0);
  else if (pending.empty())
    finish(1);
}

}  // namespace kvn
