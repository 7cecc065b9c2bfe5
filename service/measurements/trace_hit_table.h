#pragma once
// One agent's trace hit counter table as the operator reads it: the legend, the headings, a
// line for each row with its trace string filled in, and the warnings on what was dropped.

#include <stdint.h>

#include <map>
#include <string>
#include <vector>

#include "service/agents/utrace_point.h"
#include "service/measurements/trace_hit_counter_info.h"
#include "service/signals/trace_hit_counter_signals.h"

namespace kvn {

class TraceHitTable {
 public:
  // `strings` are the agent's trace strings by strid; `uTraceIndex` and `uTracePoints` those of
  // its record, for the names of utrace points. All but the points are referred to and must
  // outlive the table.
  TraceHitTable(const TraceHitCounterInfo& info, const std::vector<TraceHitEntry>& hits,
                const std::vector<std::string>& strings,
                const std::map<uint16_t, size_t>& uTraceIndex,
                std::vector<UtracePoint> uTracePoints);

  std::string text() const;

  // The name of a trace group number.
  static const char* groupName(uint16_t group);

 private:
  std::string groupText(const TraceHitEntry& hit) const;
  std::string stringText(const TraceHitEntry& hit) const;

  const TraceHitCounterInfo& info;
  const std::vector<TraceHitEntry>& hits;
  const std::vector<std::string>& strings;
  const std::map<uint16_t, size_t>& uTraceIndex;
  std::vector<UtracePoint> uTracePoints;
};

}  // namespace kvn
