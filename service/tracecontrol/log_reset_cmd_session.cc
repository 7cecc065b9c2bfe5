#include "service/tracecontrol/log_reset_cmd_session.h"

#include <utility>

#include "service/agents/daxo_trace_model.h"
#include "service/tracecontrol/trace_object_controller.h"
#include "service/tracecontrol/trace_toggler.h"

namespace kvn {

LogResetCmdSession::LogResetCmdSession(std::vector<uint16_t> agents, std::string name,
                                       uint32_t mask)
    : agents(std::move(agents)), name(std::move(name)), mask(mask) {
  for (uint16_t n : this->agents) {
    const kvntrace::EventId lost = DaxoTraceModel::getDaxoLostEvent(n);
    lostEvents[lost] = n;
    subscribeEvent(lost);
  }
}

void LogResetCmdSession::start() {
  for (uint16_t n : agents) resetAgent(n);
  started = true;
  check();
}

void LogResetCmdSession::resetAgent(uint16_t n) {
  DaxoRecord& record = DaxoTraceModel::get(n);
  const std::shared_ptr<TraceObjectController> controller = record.traceObjectManager.controller;
  const TraceObjectEntry* object = nullptr;
  if (name.empty()) {
    if (record.traceToggler) record.traceToggler->overrides().clear();
    record.enabledProfiles.clear();
    record.enabledProfiles.insert("DefaultProfile");
  } else {
    for (const TraceObjectEntry& e : record.traceObjects) {
      if (e.name == name) {
        object = &e;
        break;
      }
    }
    if (!object) {
      out << "Invalid trace object name: " << name << "\n";
      failure = true;
      return;
    }
    if (record.traceToggler) record.traceToggler->overrides().forget(object->strId, mask);
  }
  if (!controller) return;
  std::vector<TraceObjectMask> changes = controller->getChanges();
  if (changes.empty()) return;
  awaited.insert(n);
  std::function<void()> done = [this, n] { onDone(n); };
  if (object)
    controller->setMasks({{object->strId, object->mask}}, getKillableCallback(std::move(done)));
  else
    controller->setMasks(std::move(changes), getKillableCallback(std::move(done)));
}

void LogResetCmdSession::onDone(uint16_t agent) {
  if (awaited.erase(agent) != 0) check();
}

void LogResetCmdSession::handleEvent(kvntrace::EventId event) {
  auto it = lostEvents.find(event);
  if (it == lostEvents.end() || awaited.count(it->second) == 0) return;
  out << "Fail: Mask not set on daxo " << it->second << "\n";
  failure = true;
  awaited.erase(it->second);
  check();
}

void LogResetCmdSession::check() {
  if (!started || ended || !awaited.empty()) return;
  ended = true;
  if (failure) {
    print("error\n" + out.str());
    end(1);
  } else {
    print("ok\n");
    end(0);
  }
}

}  // namespace kvn
