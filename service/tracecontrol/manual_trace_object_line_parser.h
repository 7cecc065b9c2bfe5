#pragma once
// Section 3 of a saved trace state ("ManuallyChangedTraceObjects:"): "<object> <strId> <mask>",
// the group bits the operator switched by hand. Their direction comes from the object's mask
// that section 1 set. A line of another container version (the object is gone or has another
// string id) is dropped with an error, so that its bits follow the profiles again.

#include "service/tracecontrol/trace_state_line_parser.h"

namespace kvn {

class ManualTraceObjectLineParser : public TraceStateLineParser {
 public:
  void parseLine(DaxoRecord& record, std::istream& line) override;
};

}  // namespace kvn
