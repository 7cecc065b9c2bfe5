#pragma once
// One section's reader of a saved trace state: takes one non-empty line of the section at a
// time and applies it to the agent's record. A line it cannot use costs that line only. The
// look-ups by name are built once per load, on first use, so a long file stays linear.

#include <stddef.h>

#include <istream>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "service/agents/daxo_record.h"
#include "service/tracecontrol/object_name_index.h"

namespace kvn {

class ManualTraceOverrides;

class TraceStateLineParser {
 public:
  virtual ~TraceStateLineParser();
  virtual void parseLine(DaxoRecord& record, std::istream& line) = 0;

 protected:
  // The first object of the record with exactly this name, or null.
  TraceObjectEntry* findObject(DaxoRecord& record, const std::string& name);
  // The position of the first utrace point with exactly this name, or -1.
  long findPoint(const DaxoRecord& record, const std::string& name);
  // The operator's overrides of the agent, or null for a record without a toggler.
  static ManualTraceOverrides* overrides(DaxoRecord& record);
  // The next word, which must be "0" or "1".
  static bool readFlag(std::istream& line, bool& value);

 private:
  std::unique_ptr<ObjectNameIndex> objects_;
  std::unique_ptr<std::unordered_map<std::string_view, size_t>> points_;
};

}  // namespace kvn
