#pragma once
// Section 4 of a saved trace state ("utracePoints:"): "<point> 0|1", whether the point was on.
// The connect sends this state to the agent as it stands.

#include "service/tracecontrol/trace_state_line_parser.h"

namespace kvn {

class UtracePointLineParser : public TraceStateLineParser {
 public:
  void parseLine(DaxoRecord& record, std::istream& line) override;
};

}  // namespace kvn
