#include "service/tracecontrol/manual_trace_object_line_parser.h"

#include <stdlib.h>

#include <string>

#include "service/tracecontrol/manual_trace_overrides.h"
#include "tracing/log.h"

namespace kvn {

namespace {

// A decimal number of digits only, at most `max`.
bool readDecimal(const std::string& text, unsigned long max, unsigned long& value) {
  if (text.empty() || text.size() > 10 || text.find_first_not_of("0123456789") != text.npos)
    return false;
  value = strtoul(text.c_str(), nullptr, 10);
  return value <= max;
}

}  // namespace

void ManualTraceObjectLineParser::parseLine(DaxoRecord& record, std::istream& line) {
  std::string name, idText, maskText;
  line >> name >> idText;
  unsigned long id = 0;
  if (!readDecimal(idText, 0xFFFF, id)) {
    TC_LOG_ERROR("Could not parse id from saved file for traceObj with name %s.", name.c_str());
    return;
  }
  TraceObjectEntry* object = findObject(record, name);
  if (!object) {
    TC_LOG_ERROR("Could not find %s when loading from saved file.", name.c_str());
    return;
  }
  const std::string modelId = std::to_string(object->strId);
  if (idText != modelId) {
    TC_LOG_ERROR("Strids %s and %s does not match for name %s.", idText.c_str(), modelId.c_str(),
                 name.c_str());
    return;
  }
  unsigned long saved = 0;
  if (!(line >> maskText) || !readDecimal(maskText, 0xFFFFFFFFul, saved)) {
    TC_LOG_ERROR("Could not parse mask from saved file for traceObj with name %s.", name.c_str());
    return;
  }
  ManualTraceOverrides* manual = overrides(record);
  if (!manual) return;
  const uint32_t changed = static_cast<uint32_t>(saved);
  manual->set(object->strId, object->mask & changed, true);
  manual->set(object->strId, ~object->mask & changed, false);
}

}  // namespace kvn
