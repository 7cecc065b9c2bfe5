#include "service/tracecontrol/utrace_point_line_parser.h"

#include <string>

#include "tracing/log.h"

namespace kvn {

void UtracePointLineParser::parseLine(DaxoRecord& record, std::istream& line) {
  std::string name;
  if (!(line >> name)) return;
  const long position = findPoint(record, name);
  if (position < 0) return;  // the container no longer has it
  bool enabled = false;
  if (!readFlag(line, enabled)) {
    TC_LOG_ERROR("Could not parse value from saved file for utracePoint with name %s.",
                 name.c_str());
    return;
  }
  record.uTracePoints[static_cast<size_t>(position)].enabled = enabled;
}

}  // namespace kvn
