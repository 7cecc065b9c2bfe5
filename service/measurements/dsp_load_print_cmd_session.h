#pragma once
// `zomlek dspload print` and `snapshot`: fetches the tables of the last finished measurement
// (with histograms), or a snapshot taken now (without), from every agent of the command.
// Refused while an agent is measuring.

#include <stdint.h>

#include <map>
#include <vector>

#include "service/measurements/dsp_load_cmd_session.h"
#include "service/measurements/dsp_load_data.h"

namespace kvn {

class DspLoadPrintCmdSession : public DspLoadCmdSession {
 public:
  DspLoadPrintCmdSession(std::vector<uint16_t> daxos, bool snapshot);

  void start() override;

 private:
  void onConfirm(uint16_t daxo, const KvnDspLoadPrintCfmS* cfm, size_t msgsize);
  void onLost(uint16_t daxo) override;
  // Ends with 0 once every agent has answered, with 1 when nothing more can come.
  void check() override;

  bool snapshot;
  std::map<uint16_t, DspLoadData> results;
};

}  // namespace kvn
