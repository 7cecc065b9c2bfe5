#include "service/measurements/dsp_load_controller.h"

#include "base/kvn_obs_sub_message_with_sub_msg_no.h"
#include "service/agents/daxo_trace_model.h"
#include "tracing/log.h"

namespace kvn {

void DspLoadController::pxm_message(pxm_msg*& msg, size_t) {
  // The table has checked the header's length and turned it to host order.
  const auto* header = reinterpret_cast<const KvnObsSubMessageWithSubMsgNo*>(msg);
  uint16_t daxo = 0;
  DaxoTraceModel::findByMailbox(sender(msg), daxo);  // true whether found or not
  if (daxo == 0) {
    TC_LOG_ERROR("Unknown bbmHwNumber");
    return;
  }
  if (header->submsgno != kMeasurementEnded) {
    TC_LOG_ERROR("Unknown message received");
    return;
  }
  auto& dspLoad = DaxoTraceModel::get(daxo).dspLoad;
  if (dspLoad.id != header->srcRoutineId) {
    TC_LOG_ERROR("Unknown srcRoutineId: %d", header->srcRoutineId);
    return;
  }
  dspLoad.measuring = false;
}

}  // namespace kvn
