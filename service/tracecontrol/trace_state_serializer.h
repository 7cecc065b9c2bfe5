#pragma once
// The saved trace state of one agent: its masks, enabled profiles, manual changes and utrace
// settings as text, written by `zorf log save` and read back once when the agent connects
// again, so that an operator's choices survive a restart of the agent or of this service.
//
// Five sections, always in this order; the first has no heading, and each heading stands alone
// on its line after an empty one:
//   <object> <group> <group> ...         every trace object with its enabled groups
//   Profiles:                            the enabled profiles
//   ManuallyChangedTraceObjects:         <object> <strId> <mask of the bits set by hand>
//   utracePoints:                        <point> 0|1
//   ManuallyChangedUtracePoints:         <point> 0|1
// The direction of a manual bit is not in section 3: it comes back from the mask of section 1.

#include <istream>
#include <ostream>
#include <string>

#include "service/agents/daxo_record.h"

namespace kvn {

class TraceStateSerializer {
 public:
  // Writes all five sections; the stream's good state at the end.
  static bool save(const DaxoRecord& record, std::ostream& out);
  // Reads to the end of the stream. A line that cannot be used costs that line only.
  static void load(DaxoRecord& record, std::istream& in);

  // Writes `text` as the whole new content of `path`, through `path`.tmp that is flushed to
  // disk and renamed over the old one: a crash or a full disk leaves the old file as it was
  // (and at most that temporary, until the next write). False, with nothing left behind and errno
  // telling why, when any step fails.
  static bool writeFile(const std::string& path, const std::string& text);
};

}  // namespace kvn
