#include "service/measurements/trace_hit_table.h"

#include <iomanip>
#include <sstream>
#include <utility>

#include "tracetables/trace_string_formatter.h"

namespace kvn {

namespace {

const char* const kLegend =
    "Trace hit counter table:\n"
    "\n"
    "strid       - String identity (used to identify which trace)\n"
    "counter     - Counts number of hits for the trace\n"
    "firsthit    - The time in ms between last counter reset and the first hit of the trace\n"
    "lasthit     - The time in ms between last counter reset and the last hit of the trace\n"
    "arg1        - Argument 1 in the trace\n"
    "arg2        - Argument 2 in the trace\n"
    "arg3        - Argument 3 in the trace\n"
    "tracegrp    - The trace group for the trace\n"
    "string      - The actual trace string\n"
    "\n"
    "\n";

// The heading lines are longer than the code's lines, and stand as they are printed.
// clang-format off
const char* const kHeadings =
    "strid   counter    firsthit    lasthit     arg1        arg2        arg3        tracegrp               string\n"
    "=====   =======    ========    =======     ====        ====        ====        ========               =======\n"
    "\n";
// clang-format on

}  // namespace

TraceHitTable::TraceHitTable(const TraceHitCounterInfo& info,
                             const std::vector<TraceHitEntry>& hits,
                             const std::vector<std::string>& strings,
                             const std::map<uint16_t, size_t>& uTraceIndex,
                             std::vector<UtracePoint> uTracePoints)
    : info(info),
      hits(hits),
      strings(strings),
      uTraceIndex(uTraceIndex),
      uTracePoints(std::move(uTracePoints)) {}

const char* TraceHitTable::groupName(uint16_t group) {
  // 2 and 14 really are both "UNKNOWN!!!", and 3 is "UNKNOWN".
  static const char* const kNames[] = {
      "TRACEGRP_ABNORMAL", "TRACEGRP_ERROR",    "UNKNOWN!!!",
      "UNKNOWN",           "TRACEGRP_INFO",     "TRACEGRP_TRAFFIC_ABNORMAL",
      "TRACEGRP_TIMER",    "TRACEGRP_LEVEL1",   "TRACEGRP_LEVEL2",
      "TRACEGRP_LEVEL3",   "TRACEGRP_SEND",     "TRACEGRP_REC",
      "TRACEGRP_EXTRA",    "TRACEGRP_DECISION", "UNKNOWN!!!",
      "TRACEGRP_BIN_SEND", "TRACEGRP_BIN_REC"};
  return group < sizeof kNames / sizeof kNames[0] ? kNames[group] : "UNKNOWN_GROUP";
}

std::string TraceHitTable::groupText(const TraceHitEntry& hit) const {
  // A utrace point is named rather than its group.
  const uint16_t strid = hit.strid;
  auto it = uTraceIndex.find(strid);
  if (it != uTraceIndex.end() && it->second < uTracePoints.size())
    return uTracePoints[it->second].name;
  return groupName(hit.traceGroup);
}

std::string TraceHitTable::stringText(const TraceHitEntry& hit) const {
  const std::string format = hit.strid < strings.size()
                                 ? strings[hit.strid]
                                 : "Invalid strid: " + std::to_string(hit.strid);
  return TraceStringFormatter::format(format, hit.arg1, hit.arg2, hit.arg3);
}

std::string TraceHitTable::text() const {
  std::ostringstream out;
  out << kLegend << kHeadings << std::left;
  for (const TraceHitEntry& hit : hits) {
    out << std::setw(8) << static_cast<int16_t>(hit.strid) << std::setw(11) << hit.counter
        << std::setw(12) << hit.firstHit << std::setw(12) << hit.lastHit << std::setw(12)
        << hit.arg1 << std::setw(12) << hit.arg2 << std::setw(12) << hit.arg3 << std::setw(23)
        << groupText(hit) << stringText(hit) << "\n";
  }
  if (info.droppedHits != 0)
    out << "\n\n"
        << "Warning: Since start " << info.droppedHits
        << " trace hits have been dropped due to buffer overflow in small buffer\n";
  if (info.droppedStrids != 0)
    out << "\n\n"
        << "Warning: Since start " << info.droppedStrids
        << " unique strid counter instances have been dropped. The reason is that the trace hit "
           "counter table is full\n";
  return out.str();
}

}  // namespace kvn
