#include "service/tracecontrol/manual_utrace_point_line_parser.h"

#include <string>

#include "service/tracecontrol/manual_trace_overrides.h"
#include "tracing/log.h"

namespace kvn {

void ManualUtracePointLineParser::parseLine(DaxoRecord& record, std::istream& line) {
  std::string name;
  if (!(line >> name)) return;
  const long position = findPoint(record, name);
  if (position < 0) return;  // the container no longer has it
  bool value = false;
  if (!readFlag(line, value)) {
    TC_LOG_ERROR("Could not parse value from saved file for utracePoint with name %s.",
                 name.c_str());
    return;
  }
  if (ManualTraceOverrides* manual = overrides(record))
    manual->setUtrace(static_cast<size_t>(position), value);
}

}  // namespace kvn
