#pragma once
// Section 5 of a saved trace state ("ManuallyChangedUtracePoints:"): "<point> 0|1", the value
// the operator switched the point to by hand.

#include "service/tracecontrol/trace_state_line_parser.h"

namespace kvn {

class ManualUtracePointLineParser : public TraceStateLineParser {
 public:
  void parseLine(DaxoRecord& record, std::istream& line) override;
};

}  // namespace kvn
