#include "service/tracecontrol/log_status_cmd_session.h"

#include <errno.h>
#include <string.h>

#include <iomanip>
#include <sstream>
#include <utility>

#include "service/agents/daxo_trace_model.h"
#include "service/tracecontrol/trace_state_serializer.h"
#include "service/tracecontrol/utrace_controller.h"
#include "tracetables/trace_group_table.h"
#include "tracing/log.h"
#include "util/cmd/print_stream.h"

namespace kvn {

namespace {

constexpr int kNameWidth = 38;

}  // namespace

LogStatusCmdSession::LogStatusCmdSession(std::vector<uint16_t> agents, bool save)
    : agents(std::move(agents)), save(save) {}

void LogStatusCmdSession::start() {
  PrintStream out([this](const char* data, size_t length) {
    printChunk(data, static_cast<uint16_t>(length), 0, 0,
               [](KvnTraceCtrlTaviPrintCfm*&, size_t) {});
  });
  render(out);
  out.finish();
  end(0);
}

std::string LogStatusCmdSession::render() {
  std::ostringstream out;
  render(out);
  return out.str();
}

void LogStatusCmdSession::render(std::ostream& out) {
  out << std::left << "ok\n";
  for (uint16_t n : agents) renderAgent(out, DaxoTraceModel::get(n));
}

void LogStatusCmdSession::renderAgent(std::ostream& out, const DaxoRecord& record) {
  const bool several = agents.size() > 1;
  if (several)
    out << "Agent: " << record.bbmHwNumber << ", " << record.instanceName << "/"
        << record.domainDaxoIndex << "\n";
  if (!save) out << (record.connected ? "Agent is connected \n" : "Agent is NOT connected \n");
  out << std::setw(kNameWidth) << "Trace object name"
      << "Enabled groups\n";
  for (const TraceObjectEntry& e : record.traceObjects) {
    out << std::setw(kNameWidth) << e.name;
    for (size_t i = 0; i < TraceGroupTable::count(); ++i)
      if (e.mask & TraceGroupTable::bit(i)) out << TraceGroupTable::name(i) << " ";
    out << "\n";
  }
  if (save) saveAgent(out, record);
  if (record.uniqueTraceManager.id < kDaxoRoutineNotDeployed)
    out << "\nUnique Trace Points" << UTraceController::statusList(record.uTracePoints);
  if (several) out << "\n\n";
}

void LogStatusCmdSession::saveAgent(std::ostream& out, const DaxoRecord& record) {
  std::ostringstream text;
  TraceStateSerializer::save(record, text);
  const std::string path = DaxoTraceModel::savedStatePath(record);
  if (TraceStateSerializer::writeFile(path, text.str())) return;
  const int error = errno;
  out << "Could not write to file \n";
  TC_LOG_ERROR("Could not write to file");
  TC_LOG_INFO("Saved trace state of daxo %d not written to %s: %s", record.bbmHwNumber,
              path.c_str(), strerror(error));
}

}  // namespace kvn
