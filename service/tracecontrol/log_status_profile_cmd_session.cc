#include "service/tracecontrol/log_status_profile_cmd_session.h"

#include <algorithm>
#include <iomanip>
#include <utility>

#include "service/agents/daxo_trace_model.h"
#include "service/tracecontrol/manual_trace_overrides.h"
#include "service/tracecontrol/trace_toggler.h"
#include "tracetables/trace_group_table.h"

namespace kvn {

LogStatusProfileCmdSession::LogStatusProfileCmdSession(std::vector<uint16_t> agents)
    : agents(std::move(agents)) {}

void LogStatusProfileCmdSession::start() {
  print(render());
  end(0);
}

std::string LogStatusProfileCmdSession::render() {
  out.str("");
  out << std::left;
  for (uint16_t n : agents) renderAgent(DaxoTraceModel::get(n));
  return out.str();
}

void LogStatusProfileCmdSession::renderAgent(const DaxoRecord& record) {
  static const ManualTraceOverrides kNone;
  const ManualTraceOverrides& manual =
      record.traceToggler ? record.traceToggler->overrides() : kNone;

  out << "DAXO " << record.bbmHwNumber << ", " << record.instanceName << "/"
      << record.domainDaxoIndex << "\n";
  out << "Enabled profiles:\n";
  for (const std::string& name : record.enabledProfiles) out << std::setw(4) << "" << name << "\n";
  out << "\n";

  out << "Manual overrides:\n";
  std::vector<const TraceObjectEntry*> objects;
  for (const TraceObjectEntry& e : record.traceObjects)
    if (manual.forcedOn(e.strId) | manual.forcedOff(e.strId)) objects.push_back(&e);
  std::stable_sort(
      objects.begin(), objects.end(),
      [](const TraceObjectEntry* a, const TraceObjectEntry* b) { return a->name < b->name; });
  for (const TraceObjectEntry* e : objects) {
    const uint32_t on = manual.forcedOn(e->strId);
    const uint32_t off = manual.forcedOff(e->strId);
    for (size_t i = 0; i < TraceGroupTable::count(); ++i) {
      const uint32_t bit = TraceGroupTable::bit(i);
      if ((on | off) & bit)
        out << std::setw(3) << "" << ((on & bit) ? "+" : "-") << e->name << "."
            << TraceGroupTable::name(i) << "\n";
    }
  }

  std::vector<size_t> points;
  for (size_t i = 0; i < record.uTracePoints.size(); ++i)
    if (manual.utrace(i).changed) points.push_back(i);
  std::stable_sort(points.begin(), points.end(), [&record](size_t a, size_t b) {
    return record.uTracePoints[a].name < record.uTracePoints[b].name;
  });
  for (size_t i : points)
    out << std::setw(3) << "" << (manual.utrace(i).value ? "+" : "-") << record.uTracePoints[i].name
        << "\n";
  out << "\n\n";
}

}  // namespace kvn
