#include "service/datapath/trace_data_path_connect_hooks.h"

#include <memory>

#include "service/agents/daxo_record.h"
#include "service/datapath/super_trace_idle_run.h"
#include "service/datapath/trace_dest_port_pool.h"
#include "service/signals/daxo_connect_signals.h"

namespace kvn {

void TraceDataPathConnectHooks::building(DaxoRecord& r) {
  r.embuf.superTraceAction = std::make_shared<SuperTraceIdleRun>();
}

void TraceDataPathConnectHooks::deployed(DaxoRecord& r, uint16_t code) {
  if (code == kImplementsTraceDest)
    r.traceDest.portPool = std::make_shared<TraceDestPortPool>(r.bbmHwNumber);
}

}  // namespace kvn
