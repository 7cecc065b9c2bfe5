#pragma once
// The proxy of each peer of the service: one `send` per signal the peer takes, with its
// sub-message numbers. Each chain is written from the outermost class to the innermost.
// Built from (routine table, the peer's mailbox, its routine id, its lost event).

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
#include "util/proxy/template_proxy.h"

namespace kvn {

using kvntrace::ProxyCfm;
using kvntrace::ProxyCfmRej;
using kvntrace::ProxyInd;
using kvntrace::TemplateBaseProxy;

using DspLoadProxy =
    ProxyCfm<KvnDspLoadStartReqS, KvnDspLoadStartCfmS, 0, 1,
             ProxyCfm<KvnDspLoadStopReqS, KvnDspLoadStopCfmS, 2, 3,
                      ProxyCfm<KvnDspLoadPrintReqS, KvnDspLoadPrintCfmS, 4, 5, TemplateBaseProxy>>>;

using CmPoolProxy = ProxyCfm<KvnCmPoolUsageReqS, KvnCmPoolUsageCfmS, 7, 8, TemplateBaseProxy>;

using RttProxy = ProxyCfm<KvnRttSetRegisterReqS, KvnRttSetRegisterCfmS, 0, 1, TemplateBaseProxy>;

using TraceHitCounterProxy =
    ProxyCfm<KvnTraceHitCounterInfoReqS, KvnTraceHitCounterInfoCfmS, 0, 1,
             ProxyCfm<KvnTraceHitCounterDataReqS, KvnTraceHitCounterDataCfmS, 2, 3,
                      ProxyCfm<KvnTraceHitCounterClearReqS, KvnTraceHitCounterClearCfmS, 4, 5,
                               TemplateBaseProxy>>>;

using TraceObjectProxy =
    ProxyCfm<KvnTraceObjectSetMaskReqS, KvnTraceObjectSetMaskCfmS, 0, 1,
             ProxyInd<KvnTraceObjectInjectManualTraceUreqS, 2, TemplateBaseProxy>>;

using UTraceProxy =
    ProxyCfm<KvnUtraceSetConfigReqS, KvnUtraceSetConfigCfmS, 0, 1, TemplateBaseProxy>;

using SuperTraceControlProxy =
    ProxyInd<KvnSuperTraceProducerStartIndS, 3,
             ProxyInd<KvnSuperTraceConsumerStartIndS, 0,
                      ProxyCfm<KvnSuperTraceProducerStopReqS, KvnSuperTraceProducerStopCfmS, 4, 5,
                               ProxyCfm<KvnSuperTraceConsumerStopReqS,
                                        KvnSuperTraceConsumerStopCfmS, 1, 2, TemplateBaseProxy>>>>;

using SuperTraceBufferProxy =
    ProxyCfm<KvnSuperTraceBufferSetupReqS, KvnSuperTraceBufferSetupCfmS, 6, 7,
             ProxyCfm<KvnSuperTraceBufferIndexReqS, KvnSuperTraceBufferIndexCfmS, 10, 11,
                      ProxyCfm<KvnSuperTraceBufferDataReqS, KvnSuperTraceBufferDataCfmS, 12, 13,
                               TemplateBaseProxy>>>;

using TraceLinkConnectionProxy =
    ProxyCfmRej<KvnTraceLinkAttachReqS, KvnTraceLinkAttachCfmS, KvnTraceLinkAttachRejS, 0, 0, 1,
                ProxyCfmRej<KvnTraceLinkDetachReqS, KvnTraceLinkDetachCfmS, KvnTraceLinkDetachRejS,
                            1, 2, 3, TemplateBaseProxy>>;

using TraceDestProxy = ProxyCfmRej<
    KvnTraceDestAllocReqS, KvnTraceDestAllocCfmS, KvnTraceDestAllocRejS, 0, 1, 2,
    ProxyCfmRej<
        KvnTraceDestFreeReqS, KvnTraceDestFreeCfmS, KvnTraceDestFreeRejS, 3, 4, 5,
        ProxyCfmRej<
            KvnTraceDestConfigReqS, KvnTraceDestConfigCfmS, KvnTraceDestConfigRejS, 6, 7, 8,
            ProxyCfmRej<KvnTraceDestOpenReqS, KvnTraceDestOpenCfmS, KvnTraceDestOpenRejS, 9, 10, 11,
                        ProxyCfmRej<KvnTraceDestCloseReqS, KvnTraceDestCloseCfmS,
                                    KvnTraceDestCloseRejS, 12, 13, 14, TemplateBaseProxy>>>>>;

// The signal-to-trace function takes no signal from this service: routine id and proxy only.
using Sig2emProxy = TemplateBaseProxy;

// A class rather than an alias, so that the global context can hold one by a forward
// declaration.
using TsiProxyChain = ProxyCfmRej<KvnTsiProxyCreateUdpSessionReqS, KvnTsiProxyCreateUdpSessionCfmS,
                                  KvnTsiProxyCreateUdpSessionRejS, 0, 1, 2,
                                  ProxyInd<KvnTsiProxyDeleteUdpSessionIndS, 3, TemplateBaseProxy>>;
class TsiProxy : public TsiProxyChain {
 public:
  using TsiProxyChain::TsiProxyChain;
};

}  // namespace kvn
