#include "tracetables/trace_group_table.h"

#include <string.h>

namespace kvn {

namespace {

const char* const kNames[TraceGroupTable::kCount] = {
    "check",    "error",  "enter",        "return",   "info",        "trace1",
    "trace2",   "trace3", "trace4",       "trace5",   "trace6",      "trace7",
    "trace8",   "trace9", "state_change", "bus_send", "bus_receive", "req_sig",
    "send_sig", "param",  "interface",    "trace_obj"};

}  // namespace

int TraceGroupTable::indexOf(const std::string& name) {
  for (size_t i = 0; i < kCount; ++i)
    if (name == kNames[i]) return static_cast<int>(i);
  return -1;
}

const char* TraceGroupTable::name(size_t index) { return index < kCount ? kNames[index] : ""; }

uint32_t TraceGroupTable::bitOf(const std::string& name) {
  if (name == "all") return kAll;
  const int index = indexOf(name);
  return index < 0 ? 0 : bit(static_cast<size_t>(index));
}

}  // namespace kvn
