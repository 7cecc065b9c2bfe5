#pragma once
// Section 2 of a saved trace state ("Profiles:"): one enabled profile name a line. The name is
// taken as it stands; a profile the container no longer has simply gives no bits.

#include "service/tracecontrol/trace_state_line_parser.h"

namespace kvn {

class ProfileLineParser : public TraceStateLineParser {
 public:
  void parseLine(DaxoRecord& record, std::istream& line) override;
};

}  // namespace kvn
