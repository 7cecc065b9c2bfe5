#pragma once
// Section 1 of a saved trace state: "<object> <group> <group> ... ". Sets the object's mask in
// the model; the groups also tell the direction of the manual bits of section 3.

#include "service/tracecontrol/trace_state_line_parser.h"

namespace kvn {

class TraceObjectLineParser : public TraceStateLineParser {
 public:
  void parseLine(DaxoRecord& record, std::istream& line) override;
};

}  // namespace kvn
