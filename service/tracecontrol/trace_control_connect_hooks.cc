#include "service/tracecontrol/trace_control_connect_hooks.h"

#include <unistd.h>

#include <fstream>
#include <memory>
#include <string>
#include <utility>

#include "service/agents/daxo_trace_model.h"
#include "service/signals/daxo_connect_signals.h"
#include "service/tracecontrol/trace_object_controller.h"
#include "service/tracecontrol/trace_state_serializer.h"
#include "service/tracecontrol/trace_toggler.h"
#include "service/tracecontrol/utrace_config.h"
#include "service/tracecontrol/utrace_controller.h"
#include "tracetables/trace_lmc_reader.h"
#include "tracing/log.h"

namespace kvn {

void TraceControlConnectHooks::building(DaxoRecord& r) {
  r.traceToggler = std::make_shared<TraceToggler>(r.bbmHwNumber);
}

void TraceControlConnectHooks::deployed(DaxoRecord& r, uint16_t code) {
  if (code == kImplementsTraceObjectManager) {
    r.traceObjectManager.controller =
        std::make_shared<TraceObjectController>(r.bbmHwNumber, r.traceObjectManager.proxy);
  } else if (code == kImplementsUniqueTraceManager) {
    r.uniqueTraceManager.config =
        std::make_shared<UTraceConfig>(r.bbmHwNumber, r.uniqueTraceManager.proxy);
    r.uniqueTraceManager.controller =
        std::make_shared<UTraceController>(r.bbmHwNumber, r.traceLmcReader);
    r.uniqueTraceManager.controller->load();
  }
}

void TraceControlConnectHooks::built(DaxoRecord& r) {
  const std::string path = DaxoTraceModel::savedStatePath(r);
  std::ifstream in(path);
  TC_LOG_INFO("Will try load trace object states for daxo %d with %s", r.bbmHwNumber, path.c_str());
  if (in.is_open()) {
    TC_LOG_INFO("Loading trace object states for daxo %d", r.bbmHwNumber);
    if (savedStateReader_)
      savedStateReader_(r, in);
    else
      TraceStateSerializer::load(r, in);
    in.close();
    unlink(path.c_str());  // a saved state is used once
  }
  TC_LOG_INFO("Sending %zd initial trace masks to daxo %d", r.traceObjects.size(), r.bbmHwNumber);
  if (const auto& controller = r.traceObjectManager.controller) {
    if (!r.profileProvider) {
      TC_LOG_ERROR("The profile provider was not set when we try to access it.");
    } else {
      controller->getChanges();
      controller->setMasks(controller->getAll(), [] {});
    }
  }
  if (const auto& config = r.uniqueTraceManager.config) config->send(config->allChanges(), [] {});
}

void TraceControlConnectHooks::setSavedStateReader(SavedStateReader reader) {
  savedStateReader_ = std::move(reader);
}

}  // namespace kvn
