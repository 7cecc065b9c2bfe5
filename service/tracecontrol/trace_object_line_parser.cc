#include "service/tracecontrol/trace_object_line_parser.h"

#include <string>

#include "tracetables/trace_group_table.h"
#include "tracing/log.h"

namespace kvn {

void TraceObjectLineParser::parseLine(DaxoRecord& record, std::istream& line) {
  std::string name;
  if (!(line >> name)) return;
  TraceObjectEntry* object = findObject(record, name);
  if (!object) return;  // the container no longer has it
  uint32_t mask = 0;
  for (std::string group; line >> group;) mask |= TraceGroupTable::bitOf(group);
  object->mask = mask;
  TC_LOG_INFO("Saved trace object \"%s\" with group mask \"%s\"", name.c_str(),
              std::to_string(mask).c_str());
}

}  // namespace kvn
