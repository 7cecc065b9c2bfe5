// The byte-order conversions of the signal records: the first byte picks a record, the rest
// is a message of it, of any size. A conversion stays within the message, and the way back
// gives the bytes that came in (but for the injected trace text, whose words are turned on
// the way out only).

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "service/signals/cm_pool_signals.h"
#include "service/signals/dsp_load_signals.h"
#include "service/signals/rtt_register_signals.h"
#include "service/signals/super_trace_signals.h"
#include "service/signals/trace_dest_signals.h"
#include "service/signals/trace_hit_counter_signals.h"
#include "service/signals/trace_link_signals.h"
#include "service/signals/trace_object_signals.h"
#include "service/signals/tsi_proxy_signals.h"
#include "service/signals/utrace_signals.h"

namespace {

using Convert = void (*)(uint8_t* msg, size_t size);

template <typename T>
void roundTrip(uint8_t* msg, size_t size) {
  T::toHost(reinterpret_cast<T*>(msg), size);
  T::toNetwork(reinterpret_cast<T*>(msg), size);
}

const Convert kRecords[] = {
    // Confirms and rejects from the agents.
    roundTrip<KvnCmPoolUsageCfmS>, roundTrip<KvnDspLoadPrintCfmS>,
    roundTrip<KvnSuperTraceBufferIndexCfmS>, roundTrip<KvnSuperTraceBufferDataCfmS>,
    roundTrip<KvnTraceDestAllocCfmS>, roundTrip<KvnTraceDestOpenCfmS>,
    roundTrip<KvnTraceDestAllocRejS>, roundTrip<KvnTraceDestFreeRejS>,
    roundTrip<KvnTraceDestConfigRejS>, roundTrip<KvnTraceDestOpenRejS>,
    roundTrip<KvnTraceDestCloseRejS>, roundTrip<KvnTraceHitCounterInfoCfmS>,
    roundTrip<KvnTraceHitCounterDataCfmS>, roundTrip<KvnTraceLinkAttachRejS>,
    roundTrip<KvnTraceLinkDetachRejS>,
    // The TSI proxy's records, both ways.
    roundTrip<KvnTsiProxyCreateUdpSessionReqS>, roundTrip<KvnTsiProxyCreateUdpSessionCfmS>,
    roundTrip<KvnTsiProxyCreateUdpSessionRejS>, roundTrip<KvnTsiProxyDeleteUdpSessionIndS>,
    // Requests and indications to the agents, which the simulator reads.
    roundTrip<KvnDspLoadStartReqS>, roundTrip<KvnDspLoadPrintReqS>,
    roundTrip<KvnRttSetRegisterReqS>, roundTrip<KvnSuperTraceProducerStartIndS>,
    roundTrip<KvnSuperTraceProducerStopReqS>, roundTrip<KvnSuperTraceBufferSetupReqS>,
    roundTrip<KvnSuperTraceBufferDataReqS>, roundTrip<KvnTraceDestFreeReqS>,
    roundTrip<KvnTraceDestConfigReqS>, roundTrip<KvnTraceDestOpenReqS>,
    roundTrip<KvnTraceDestCloseReqS>, roundTrip<KvnTraceHitCounterDataReqS>,
    roundTrip<KvnTraceLinkAttachReqS>, roundTrip<KvnTraceLinkDetachReqS>,
    roundTrip<KvnTraceObjectSetMaskReqS>, roundTrip<KvnUtraceSetConfigReqS>,
    roundTrip<KvnTraceObjectInjectManualTraceUreqS>,  // the last: not symmetric
};
constexpr size_t kCount = sizeof kRecords / sizeof kRecords[0];

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  const size_t pick = data[0] % kCount;
  // A buffer of exactly the message's size, so that any step past it is seen.
  std::vector<uint8_t> msg(data + 1, data + size);
  kRecords[pick](msg.data(), msg.size());
  if (pick != kCount - 1 && std::memcmp(msg.data(), data + 1, msg.size()) != 0) __builtin_trap();
  return 0;
}
