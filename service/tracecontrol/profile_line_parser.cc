#include "service/tracecontrol/profile_line_parser.h"

#include <string>

namespace kvn {

void ProfileLineParser::parseLine(DaxoRecord& record, std::istream& line) {
  std::string name;
  if (line >> name) record.enabledProfiles.insert(name);
}

}  // namespace kvn
