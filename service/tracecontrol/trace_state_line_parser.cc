#include "service/tracecontrol/trace_state_line_parser.h"

#include "service/tracecontrol/trace_toggler.h"

namespace kvn {

TraceStateLineParser::~TraceStateLineParser() = default;

TraceObjectEntry* TraceStateLineParser::findObject(DaxoRecord& record, const std::string& name) {
  if (!objects_) objects_ = std::make_unique<ObjectNameIndex>(record.traceObjects);
  const std::vector<uint32_t>* positions = objects_->find(name);
  return positions ? &record.traceObjects[positions->front()] : nullptr;
}

long TraceStateLineParser::findPoint(const DaxoRecord& record, const std::string& name) {
  if (!points_) {
    points_ = std::make_unique<std::unordered_map<std::string_view, size_t>>();
    points_->reserve(record.uTracePoints.size());
    for (size_t i = 0; i < record.uTracePoints.size(); ++i)
      points_->emplace(record.uTracePoints[i].name, i);  // the first of a name stays
  }
  auto it = points_->find(name);
  return it == points_->end() ? -1 : static_cast<long>(it->second);
}

ManualTraceOverrides* TraceStateLineParser::overrides(DaxoRecord& record) {
  return record.traceToggler ? &record.traceToggler->overrides() : nullptr;
}

bool TraceStateLineParser::readFlag(std::istream& line, bool& value) {
  std::string word;
  if (!(line >> word) || (word != "0" && word != "1")) return false;
  value = word == "1";
  return true;
}

}  // namespace kvn
