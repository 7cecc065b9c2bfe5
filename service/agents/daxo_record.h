#pragma once
// Everything the service knows of one agent: where it is, what is deployed on it, and the trace
// state that the log commands work on. A record lives from one connect of its number to the
// next, across the agent's death; copying it is a deep copy, for rare work only.

#include <stdint.h>

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "service/agents/counter_deployment.h"
#include "service/agents/deployment.h"
#include "service/agents/embuf_deployment.h"
#include "service/agents/forwarder_kind.h"
#include "service/agents/forwarder_link.h"
#include "service/agents/measuring_deployment.h"
#include "service/agents/rtt_deployment.h"
#include "service/agents/trace_dest_deployment.h"
#include "service/agents/trace_object_deployment.h"
#include "service/agents/trace_object_entry.h"
#include "service/agents/utrace_deployment.h"
#include "service/agents/utrace_point.h"
#include "service/signals/signal_proxies.h"
#include "util/mainloop/event.h"

namespace kvntrace {
class TraceLmcReader;
class ProfileProvider;
}  // namespace kvntrace

namespace kvn {

class TraceToggler;

struct DaxoRecord {
  uint32_t mailbox = 0xFFFFFFFFu;
  uint16_t bbmHwNumber = 0;  // 0: never connected
  uint16_t domainDaxoIndex = 0;
  uint16_t roleIndex = 65535;
  std::string instanceName;
  std::string loadModuleName;
  std::string lmcPath;
  bool connected = false;
  bool modelValid = false;
  uint32_t version = 0;
  ForwarderLink links[kForwarderKindCount][kForwarderKindCount];
  EmbufDeployment embuf;
  RttDeployment rttManager;
  MeasuringDeployment<DspLoadProxy> dspLoad;
  MeasuringDeployment<CmPoolProxy> cmPool;
  CounterDeployment<TraceHitCounterProxy> traceHitCounter;
  TraceObjectDeployment traceObjectManager;
  TraceDestDeployment traceDest;
  UTraceDeployment uniqueTraceManager;
  Deployment<Sig2emProxy> sig2emManager;
  std::vector<TraceObjectEntry> traceObjects;  // in strId order
  std::vector<UtracePoint> uTracePoints;
  std::map<uint16_t, size_t> uTraceIndex;  // point id -> position in uTracePoints
  std::set<std::string> enabledProfiles;
  std::shared_ptr<kvntrace::Event> lostEvent;
  std::shared_ptr<kvntrace::TraceLmcReader> traceLmcReader;
  std::shared_ptr<kvntrace::ProfileProvider> profileProvider;
  std::shared_ptr<TraceToggler> traceToggler;
};

}  // namespace kvn
